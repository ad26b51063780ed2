#pragma once

#include <filesystem>

#include "node_parameters.h"
#include "plugin_location.h"
#include "sdk/door/application.h"
#include "sdk/door/document.h"

namespace quillmere::app {

// An application with the effect's module loaded, and a document whose render settings hold one node of the effect.
class EffectSession {
 public:
  // `events` must outlive the session. Throw host::Error, and Failure when the effect could not read its catalog.
  EffectSession(const std::filesystem::path& writeDirectory, PluginFolder plugin, const std::filesystem::path& scene,
                host::Events& events);
  // With an empty scene.
  EffectSession(const std::filesystem::path& writeDirectory, PluginFolder plugin, host::Events& events);

  host::Document& document() { return document_; }
  NodeParameters& node() { return node_; }
  const PluginFolder& plugin() const { return plugin_; }

 private:
  // With the module in it before any document is made.
  struct Application : host::Application {
    Application(const std::filesystem::path& writeDirectory, const PluginFolder& plugin, host::Events& events);
  };

  PluginFolder plugin_;
  Application application_;
  host::Document document_;
  NodeParameters node_;
};

}  // namespace quillmere::app
