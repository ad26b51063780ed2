#include "ownership.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace quillmere::studio {

namespace fs = std::filesystem;

fs::path Ownership::file() const {
  return folder_ / "owner.lock";
}

Ownership::~Ownership() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool Ownership::mine() {
  const std::lock_guard lock(mutex_);
  if (descriptor_ >= 0) return true;
  std::error_code error;  // told by the file that can't be opened
  fs::create_directories(folder_, error);
  const int descriptor = ::open(file().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644);
  if (descriptor < 0) return false;
  if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    ::close(descriptor);
    return false;
  }
  const std::string self = std::to_string(::getpid());
  [[maybe_unused]] const int cut = ::ftruncate(descriptor, 0);
  [[maybe_unused]] const ssize_t written = ::pwrite(descriptor, self.data(), self.size(), 0);
  descriptor_ = descriptor;
  return true;
}

std::string Ownership::other() {
  if (mine()) return {};
  const int descriptor = ::open(file().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (descriptor < 0) return {};
  std::array<char, 16> text{};
  const ssize_t length = ::read(descriptor, text.data(), text.size());
  ::close(descriptor);
  const auto end = text.begin() + std::max<ssize_t>(length, 0);
  return {text.begin(), std::find_if_not(text.begin(), end, [](unsigned char letter) { return std::isdigit(letter); })};
}

}  // namespace quillmere::studio
