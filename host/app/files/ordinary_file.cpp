#include "ordinary_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// What is there in place of a file; null for a file and for nothing.
const char* strangerAt(const fs::path& file) {
  std::error_code error;
  switch (fs::status(file, error).type()) {
    case fs::file_type::directory:
      return "folder";
    case fs::file_type::fifo:
      return "pipe";
    case fs::file_type::socket:
      return "socket";
    case fs::file_type::block:
    case fs::file_type::character:
      return "device";
    default:
      return nullptr;
  }
}

// Open without waiting for anybody.
class Opened {
 public:
  explicit Opened(const fs::path& file) : descriptor_(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
  ~Opened() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  // Of an ordinary file; none, with errno, of anything else.
  std::optional<std::size_t> size() const {
    struct stat status = {};
    if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0) return {};
    errno = EINVAL;
    return S_ISREG(status.st_mode) ? std::optional(static_cast<std::size_t>(status.st_size)) : std::nullopt;
  }
  // Reads until `content` is full or the file ends, and cuts it there. False, with errno, when something went wrong.
  bool read(std::string& content) const {
    std::size_t length = 0;
    while (length < content.size()) {
      const ssize_t count = ::read(descriptor_, content.data() + length, content.size() - length);
      if (count < 0 && errno != EINTR) return false;
      if (count == 0) break;
      if (count > 0) length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return true;
  }

 private:
  int descriptor_;
};

}  // namespace

std::optional<Obstacle> obstacleAt(const std::string& what, const fs::path& file) {
  const char* const stranger = strangerAt(file);
  if (!stranger) return {};
  return Obstacle{what + " '" + file.string() + "'", std::string("it is a ") + stranger + ", not a file",
                  "move it away"};
}

void refuse(const std::optional<Obstacle>& obstacle) {
  if (obstacle) throw Failure(ExitStatus::Failed, obstacle->what, obstacle->why, obstacle->remedy);
}

std::string contentOf(const std::string& what, const fs::path& file, std::size_t most, const std::string& remedy) {
  const auto fail = [&](const std::string& why) {
    throw Failure(ExitStatus::Failed, what + " '" + file.string() + "'", why, remedy);
  };
  if (const auto obstacle = obstacleAt(what, file)) fail(obstacle->why);
  const Opened opened(file);
  const std::optional<std::size_t> size = opened.size();
  std::string content(std::min(size.value_or(0), most) + 1, '\0');
  if (!size || !opened.read(content)) fail("it cannot be read: " + std::generic_category().message(errno));
  if (content.size() > most) fail("it is larger than " + std::to_string(most >> 20U) + " MiB");
  return content;
}

}  // namespace quillmere::app
