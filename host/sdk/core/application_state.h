#pragma once

#include <filesystem>
#include <string>

#include "core/events.h"
#include "core/registry.h"

namespace quillmere::host {

// What the API's free functions act on.
struct ApplicationState {
  std::filesystem::path writeDirectory;
  Events& events;
  std::string language;  // of the texts of modules, for example "en-US"
  Registry registry;
  std::filesystem::path loading;  // the file of the module that is being opened, empty otherwise
  std::string refusal;            // why the host turned down what that module asked for last, empty if it didn't
};

ApplicationState* applicationState();               // null without an application
void setApplicationState(ApplicationState* state);  // the application's own; at most one at a time

Events& events();  // the application's; without one, nobody is told

}  // namespace quillmere::host
