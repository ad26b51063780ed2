#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "core/events.h"

namespace quillmere::host {

// The application side of the process: plug-in registry, modules, write directory. One may exist at a time; the host
// API's free functions act on it, and without one they answer as an application without plug-ins would.
class QM_HOST_API Application {
 public:
  // `writeDirectory` is what GeGetStartupWritePath returns; it is made when something is first written.
  // `events` must outlive the application. `language` chooses the texts of modules; what a module doesn't have in it is
  // shown in en-US. Throws Error for a second application, and for a language that isn't written like "en-US".
  Application(const std::filesystem::path& writeDirectory, Events& events, std::string language = "en-US");
  ~Application();  // ends and closes the modules; every document must be gone
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  // Opens the one module that lies in `folder` beside its res/ (*.xso64, on macOS *.xlib), then as an application does:
  // init-sys, message 0, message 1, start. Throws Error, with the module closed again and nothing of it registered.
  void loadPlugin(const std::filesystem::path& folder);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

// What a module declares of itself, in its order.
struct Registration {
  std::string identifier;  // reversed domain
  std::vector<std::string> units;
  std::vector<std::pair<std::string, std::string>> entities;  // name, and the unit it is registered under
  std::vector<std::string> frameworks;                        // those of the host that it uses
};

// Reads it from the one module in the plug-in's folder, which is opened for that but not started. Nothing for a module
// without such a declaration. Throws Error when the module can't be opened.
QM_HOST_API std::optional<Registration> registrationOf(const std::filesystem::path& folder);

// The data folder of the user who runs this: $XDG_DATA_HOME or ~/.local/share, on macOS ~/Library/Application Support.
// Throws Error when there is no home to put it in.
QM_HOST_API std::filesystem::path userDataDirectory();

}  // namespace quillmere::host
