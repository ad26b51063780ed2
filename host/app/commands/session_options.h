#pragma once

#include <filesystem>
#include <string>

namespace CLI {
class App;
}

namespace quillmere::app {

// Where the host writes and where the plug-in lies.
struct SessionOptions {
  std::string writeDirectory, plugin;  // empty: the user's data folder, the plug-in beside this program
};

void addSessionOptions(CLI::App& command, SessionOptions& options);

// Absolute. Throws Error when there is no home to put the default in.
std::filesystem::path writeDirectoryOf(const SessionOptions& options);

}  // namespace quillmere::app
