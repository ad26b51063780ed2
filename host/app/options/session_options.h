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

// --plugin alone, for what writes nothing of the host's.
void addPluginOption(CLI::App& command, SessionOptions& options);

void addSessionOptions(CLI::App& command, SessionOptions& options);

// Absolute. Throws host::Error when there is no home to put the default in.
std::filesystem::path writeDirectoryOf(const SessionOptions& options);

}  // namespace quillmere::app
