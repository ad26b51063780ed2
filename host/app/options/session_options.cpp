#include "session_options.h"

#include <CLI/CLI.hpp>

#include "failure.h"
#include "sdk/door/application.h"
#include "utf8_text.h"

namespace quillmere::app {
namespace {

std::filesystem::path usersFolder() {
  try {
    return host::userDataDirectory();
  } catch (const host::Error&) {
    throw Failure(ExitStatus::Failed, "write directory", "HOME is not set, which would tell where your data belongs",
                  "set it, or give a folder with --write-dir");
  }
}

}  // namespace

void addPluginOption(CLI::App& command, SessionOptions& options) {
  command.add_option("--plugin", options.plugin, "Folder of the plug-in (default: the one beside this program)")
      ->check(CLI::ExistingDirectory)
      ->type_name("DIR");
}

void addSessionOptions(CLI::App& command, SessionOptions& options) {
  command
      .add_option("--write-dir", options.writeDirectory,
                  "Folder for exchange files, history and pictures (default: the user's data folder)")
      ->type_name("DIR");
  addPluginOption(command, options);
}

std::filesystem::path writeDirectoryOf(const SessionOptions& options) {
  const std::string& given = options.writeDirectory;
  std::filesystem::path directory = given.empty() ? usersFolder() : std::filesystem::absolute(given).lexically_normal();
  requireUtf8("write directory '" + directory.string() + "'", directory.string());
  return directory;
}

}  // namespace quillmere::app
