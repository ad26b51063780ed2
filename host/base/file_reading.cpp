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

std::string inWords(std::uintmax_t bytes) {
  constexpr std::uintmax_t kMiB = 1U << 20U, kGiB = 1U << 30U;
  return bytes % kGiB == 0 ? std::to_string(bytes / kGiB) + " GiB" : std::to_string(bytes / kMiB) + " MiB";
}

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

  // Up to `count` bytes; 0 at the end.
  std::size_t read(void* to, std::size_t count) const {
    for (;;) {
      const ssize_t got = ::read(descriptor_, to, count);
      if (got >= 0) return static_cast<std::size_t>(got);
      if (errno != EINTR) throw Error("it can't be read: " + reasonOf(errno));
    }
  }

 private:
  int descriptor_;
};

// A file that grows meanwhile is read as long as it was when it was opened.
template <class Bytes>
Bytes contentOf(const std::filesystem::path& path, std::uintmax_t largest, std::uintmax_t most) {
  const OpenFile file(path);
  Bytes content;
  content.resize(std::min<std::uintmax_t>(file.size(largest), most));
  std::size_t filled = 0;
  while (filled < content.size()) {
    const std::size_t got = file.read(content.data() + filled, content.size() - filled);
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
