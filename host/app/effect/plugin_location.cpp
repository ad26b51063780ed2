#include "plugin_location.h"

#include <array>
#include <cstdint>
#include <string>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// Seen from the folder of this program: in the build tree, where installed.
constexpr std::array<const char*, 2> kBesideProgram{"../plugin/quillmere", "../lib/quillmere/plugin/quillmere"};

fs::path thisProgram() {
  std::error_code error;
#ifdef __APPLE__
  std::string name(4096, '\0');
  std::uint32_t size = static_cast<std::uint32_t>(name.size());
  if (_NSGetExecutablePath(name.data(), &size) != 0) return {};
  return fs::canonical(name.c_str(), error);
#else
  return fs::read_symlink("/proc/self/exe", error);
#endif
}

}  // namespace

fs::path PluginFolder::helper() const {
  return path / "python" / "quillmere_render_helper.py";
}

fs::path PluginFolder::exampleWorkflow() const {
  return path / "python" / "workflows" / "ink_wash.json";
}

PluginFolder pluginFolder(const fs::path& given) {
  std::error_code error;
  if (!given.empty()) return {fs::absolute(given, error).lexically_normal()};
  const fs::path beside = thisProgram().parent_path();
  for (const char* candidate : kBesideProgram) {
    const fs::path folder = (beside / candidate).lexically_normal();
    if (fs::is_directory(folder, error)) return {folder};
  }
  return {(beside / kBesideProgram.front()).lexically_normal()};
}

}  // namespace quillmere::app
