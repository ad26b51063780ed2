#include "held_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>
#include <utility>

namespace quillmere::studio {

namespace fs = std::filesystem;

// Without opening what it is: that could keep us waiting, or set a device going.
HeldFile::HeldFile(const fs::path& file) : descriptor_(::open(file.c_str(), O_PATH | O_CLOEXEC)) {
  struct stat facts {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &facts) != 0 || !S_ISREG(facts.st_mode)) return;
  std::error_code error;
  place_ = fs::read_symlink(content(), error);
}

HeldFile::~HeldFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

HeldFile::HeldFile(HeldFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), place_(std::move(other.place_)) {}

fs::path HeldFile::content() const {
  return "/proc/self/fd/" + std::to_string(descriptor_);
}

}  // namespace quillmere::studio
