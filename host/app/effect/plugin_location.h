#pragma once

#include <filesystem>

namespace quillmere::app {

// The plug-in's folder: the module beside its res/ and python/.
struct PluginFolder {
  std::filesystem::path path;

  std::filesystem::path helper() const;
  std::filesystem::path exampleWorkflow() const;  // of the back end that needs nothing but the helper
};

// `given`, or when that is empty the folder that lies beside this program, in the build tree or where it is installed.
// Whether there is a plug-in in it is not looked at.
PluginFolder pluginFolder(const std::filesystem::path& given);

}  // namespace quillmere::app
