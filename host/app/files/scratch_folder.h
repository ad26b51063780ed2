#pragma once

#include <filesystem>

namespace quillmere::app {

// An empty folder of its own where the system keeps what is temporary, gone with all in it when this dies.
class ScratchFolder {
 public:
  ScratchFolder();  // throws Failure when there is no room for it
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace quillmere::app
