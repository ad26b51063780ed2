#include "session_options.h"

#include <CLI/CLI.hpp>

#include "sdk/door/application.h"

namespace quillmere::app {

void addSessionOptions(CLI::App& command, SessionOptions& options) {
  command
      .add_option("--write-dir", options.writeDirectory,
                  "Folder for exchange files, history and pictures (default: the user's data folder)")
      ->type_name("DIR");
  command.add_option("--plugin", options.plugin, "Folder of the plug-in (default: the one beside this program)")
      ->check(CLI::ExistingDirectory)
      ->type_name("DIR");
}

std::filesystem::path writeDirectoryOf(const SessionOptions& options) {
  if (options.writeDirectory.empty()) return host::userDataDirectory();
  return std::filesystem::absolute(options.writeDirectory).lexically_normal();
}

}  // namespace quillmere::app
