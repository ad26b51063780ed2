#include "base/file_reading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>

#include "base/error.h"

namespace quillmere {

namespace {

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

constexpr std::uintmax_t kKiB = 1U << 10U, kMiB = 1U << 20U, kGiB = 1U << 30U;

std::string inWords(std::uintmax_t bytes) {
  if (bytes < kMiB) return std::to_string(bytes / kKiB) + " KiB";
  return bytes % kGiB == 0 ? std::to_string(bytes / kGiB) + " GiB" : std::to_string(bytes / kMiB) + " MiB";
}

// A file with holes costs its maker nothing and its reader all of its length; from this many bytes on it must hold
// this part of them.
constexpr std::uintmax_t kLargestOfHoles = 256 * kMiB, kLeastHeld = 16;

class OpenFile {
 public:
  explicit OpenFile(const std::filesystem::path& file)
      : descriptor_(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {
    if (descriptor_ >= 0) return;
    if (errno == ENOENT || errno == ENOTDIR) throw Error("there is no such file");
    if (errno == EACCES || errno == EPERM) throw Error("it can't be opened; check that you may read it");
    if (errno == ENXIO) throw Error("it is not a regular file");  // a socket
    throw Error("it can't be opened: " + reasonOf(errno));
  }
  ~OpenFile() { close(descriptor_); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  // In bytes, of a regular file that has at most `most`.
  std::size_t size(std::uintmax_t most) const {
    struct stat facts {};
    if (fstat(descriptor_, &facts) != 0) throw Error("its size can't be read: " + reasonOf(errno));
    if (!S_ISREG(facts.st_mode)) throw Error("it is not a regular file");
    if (static_cast<std::uintmax_t>(facts.st_size) > most) throw Error("it is larger than " + inWords(most));
    return static_cast<std::size_t>(facts.st_size);
  }

  // Throws for one of whose first `length` bytes next to all are holes.
  void requireHeld(std::uintmax_t length) const {
    if (length < kLargestOfHoles) return;
    const std::uintmax_t least = length / kLeastHeld, held = heldOf(length, least);
    if (held >= least) return;
    throw Error("it is " + inWords(length) + " long and holds " + inWords(held) +
                ", the rest is a hole; if that is meant, fill it with cp --sparse=never");
  }

  // Up to `count` bytes, those at `from`; 0 at the end.
  std::size_t read(void* to, std::size_t count, std::size_t from) const {
    for (;;) {
      const ssize_t got = ::pread(descriptor_, to, count, static_cast<off_t>(from));
      if (got >= 0) return static_cast<std::size_t>(got);
      if (errno != EINTR) throw Error("it can't be read: " + reasonOf(errno));
    }
  }

 private:
  // How many of the first `length` bytes are no holes; not counted beyond `enough`. Where holes aren't told there are
  // none.
  std::uintmax_t heldOf(std::uintmax_t length, std::uintmax_t enough) const {
    const auto end = static_cast<off_t>(length);
    std::uintmax_t held = 0;
    for (off_t hole = 0; hole < end && held < enough;) {
      const off_t data = lseek(descriptor_, hole, SEEK_DATA);
      if (data < 0 && errno != ENXIO) return length;  // that one says: no data from there on
      if (data < 0 || data >= end) break;
      hole = lseek(descriptor_, data, SEEK_HOLE);
      if (hole <= data) return length;
      held += static_cast<std::uintmax_t>(std::min(hole, end) - data);
    }
    return held;
  }

  int descriptor_;
};

// A file that grows meanwhile is read as long as it was when it was opened.
template <class Bytes>
Bytes contentOf(const std::filesystem::path& path, std::uintmax_t largest, std::uintmax_t most) {
  const OpenFile file(path);
  Bytes content;
  const std::size_t length = std::min<std::uintmax_t>(file.size(largest), most);
  file.requireHeld(length);
  content.resize(length);
  std::size_t filled = 0;
  while (filled < content.size()) {
    const std::size_t got = file.read(content.data() + filled, content.size() - filled, filled);
    if (got == 0) throw Error("it became shorter while it was read");
    filled += got;
  }
  return content;
}

}  // namespace

std::vector<std::uint8_t> readBytes(const std::filesystem::path& file, std::uintmax_t most) {
  return contentOf<std::vector<std::uint8_t>>(file, most, most);
}

std::vector<std::uint8_t> readStart(const std::filesystem::path& file, std::uintmax_t most) {
  return contentOf<std::vector<std::uint8_t>>(file, std::numeric_limits<std::uintmax_t>::max(), most);
}

std::string readText(const std::filesystem::path& file, std::uintmax_t most) {
  return contentOf<std::string>(file, most, most);
}

}  // namespace quillmere
