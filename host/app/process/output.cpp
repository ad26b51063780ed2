#include "output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace quillmere::app {

bool Output::write(std::string_view text) {
  while (!lost_ && !text.empty()) {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      lost_ = true;
    }
  }
  return !lost_;
}

void openMissingStandardStreams() {
  int descriptor = 0;
  do {
    descriptor = ::open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
}

OwnStandardOutput::OwnStandardOutput() : saved_(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
  if (saved_ >= 0) ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

OwnStandardOutput::~OwnStandardOutput() {
  if (saved_ < 0) return;
  ::dup2(saved_, STDOUT_FILENO);
  ::close(saved_);
}

}  // namespace quillmere::app
