#pragma once

#include <filesystem>

namespace quillmere::app {

// Keeps a write directory's exchange files to one render at a time. Held while this lives and by this process only;
// the file that carries it stays.
class RuntimeLock {
 public:
  // Makes the directory where it is missing. Throws Failure when another render holds it, it can't be written, or
  // something lies in the way of a file that all frames share.
  explicit RuntimeLock(const std::filesystem::path& writeDirectory);
  ~RuntimeLock();
  RuntimeLock(const RuntimeLock&) = delete;
  RuntimeLock& operator=(const RuntimeLock&) = delete;

 private:
  int descriptor_;
};

}  // namespace quillmere::app
