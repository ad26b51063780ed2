#pragma once

#include <filesystem>
#include <string>

#include "api/application.h"
#include "core/registry.h"

namespace quillmere::host {

// What the API's free functions act on: the application that is there at the moment.
struct Running {
  std::filesystem::path writeDirectory;
  Events& events;
  std::string language;  // of the texts of modules, for example "en-US"
  Registry registry;
  std::filesystem::path loading;  // the file of the module that is being opened, empty otherwise
  std::string refusal;            // why the host turned down what that module asked for last, empty if it didn't
};

Running* running();             // null without an application
void setRunning(Running* now);  // the application's own; at most one at a time

}  // namespace quillmere::host
