#pragma once

#include <filesystem>
#include <memory>

#include "node_parameters.h"
#include "scene/scene.h"
#include "sdk/api/application.h"
#include "sdk/api/document.h"

namespace quillmere::app {

// The plug-in's folder: the module beside its res/ and python/.
struct PluginFolder {
  std::filesystem::path path;

  std::filesystem::path helper() const;
  std::filesystem::path exampleWorkflow() const;  // of the back end that needs nothing but the helper
};

// Where this program lies, for what is installed beside it.
std::filesystem::path programFolder();

// `given`, or when that is empty the folder that lies beside this program, in the build tree or where it is installed.
// Whether there is a plug-in in it is not looked at.
PluginFolder pluginFolder(const std::filesystem::path& given);

// An application with the effect's module loaded, and a document whose render settings hold one node of the effect.
class EffectSession {
 public:
  // `events` must outlive the session; without a `scene` there is nothing to see and no camera. Throws Error, and
  // Failure when the effect could not read its catalog.
  EffectSession(const std::filesystem::path& writeDirectory, PluginFolder plugin, host::Events& events,
                const std::filesystem::path& scene = {});
  // With a scene that was loaded from `file`; null is none.
  EffectSession(const std::filesystem::path& writeDirectory, PluginFolder plugin, host::Events& events,
                std::shared_ptr<const scene::Scene> scene, const std::filesystem::path& file);

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
