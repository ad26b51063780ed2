#include "scratch_folder.h"

#include <stdlib.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "values/failure.h"

namespace quillmere::app {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
  std::string name = (fs::temp_directory_path() / "quillmere-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw Failure(ExitStatus::Failed, "temporary folder '" + name + "'",
                  "cannot be made: " + std::generic_category().message(errno),
                  "set TMPDIR to a folder that you may write to");
  }
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code error;
  fs::remove_all(path_, error);
}

}  // namespace quillmere::app
