#include "runtime_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "files/exchange_files.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

[[noreturn]] void refuse(const std::filesystem::path& directory, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Failed, "write directory '" + directory.string() + "'", why, remedy);
}

[[noreturn]] void refuseUnwritable(const std::filesystem::path& directory, std::error_code error) {
  refuse(directory, "cannot be written: " + error.message(), "give --write-dir a folder that you may write to");
}

// The process that wrote itself into the lock's file, as text for a message.
std::string holder(int descriptor) {
  char text[24] = {};
  const ssize_t length = ::pread(descriptor, text, sizeof text - 1, 0);
  return length > 0 ? " (process " + std::string(text, static_cast<std::size_t>(length)) + ")" : "";
}

}  // namespace

RuntimeLock::RuntimeLock(const std::filesystem::path& writeDirectory) {
  const std::filesystem::path folder = exchangeFolder(writeDirectory);
  app::refuse(obstacleToWriting(writeDirectory));
  if (const std::error_code error = makeFolders(writeDirectory)) refuseUnwritable(writeDirectory, error);
  app::refuse(obstacleForAll(writeDirectory));  // also of the folders: somebody may have been faster
  descriptor_ = ::open((folder / "render.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
  if (descriptor_ < 0) refuseUnwritable(writeDirectory, {errno, std::generic_category()});
  if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
    const std::string other = holder(descriptor_);
    ::close(descriptor_);
    refuse(writeDirectory, "another render" + other + " is using its exchange files",
           "wait until that one has ended, or give this one a folder of its own with --write-dir");
  }
  const std::string self = std::to_string(::getpid());
  [[maybe_unused]] const int cut = ::ftruncate(descriptor_, 0);
  [[maybe_unused]] const ssize_t written = ::pwrite(descriptor_, self.data(), self.size(), 0);
}

RuntimeLock::~RuntimeLock() {
  ::close(descriptor_);
}

}  // namespace quillmere::app
