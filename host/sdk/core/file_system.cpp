#include <filesystem>

#include "c4d_file.h"
#include "core/running.h"
#include "core/text.h"

namespace cinema {

namespace fs = std::filesystem;
using quillmere::host::pathOf;

namespace {

// A NUL would cut the name short on its way into the system: such a name stands for no file.
bool isUsable(const fs::path& path) {
  return !path.empty() && path.native().find('\0') == std::string::npos;
}

// A relative name's first folder is never made: it must be there, so a bare name can't be made at all.
bool hasFolderToStartFrom(const fs::path& path) {
  std::error_code failed;
  return path.is_absolute() || (path.has_parent_path() && fs::is_directory(*path.begin(), failed));
}

}  // namespace

Bool GeFExist(const Filename& name, Bool isdir) {
  const fs::path path = pathOf(name);
  std::error_code failed;
  if (!isUsable(path)) return false;
  return isdir ? fs::is_directory(path, failed) : fs::exists(path, failed) && !fs::is_directory(path, failed);
}

Bool GeFCreateDir(const Filename& name) {
  const fs::path path = pathOf(name);
  std::error_code failed;
  return isUsable(path) && fs::create_directory(path, failed) && !failed;
}

Bool GeFCreateDirRec(const Filename& name) {
  const fs::path path = pathOf(name);
  std::error_code failed;
  if (!isUsable(path) || !hasFolderToStartFrom(path)) return false;
  fs::create_directories(path, failed);
  return fs::is_directory(path, failed);
}

const Filename GeGetC4DPath(Int32 whichpath) {
  const auto* application = quillmere::host::running();
  if (whichpath != C4D_PATH_STARTUPWRITE || !application) return Filename();
  return quillmere::host::filenameOf(application->writeDirectory);
}

const Filename GeGetStartupWritePath() {
  return GeGetC4DPath(C4D_PATH_STARTUPWRITE);
}

}  // namespace cinema
