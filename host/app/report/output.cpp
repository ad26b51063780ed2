#include "output.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>

#include "base/utf8.h"
#include "values/failure.h"

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

bool Output::lost() const {
  pollfd look{descriptor_, 0, 0};
  return lost_ || (::poll(&look, 1, 0) > 0 && (look.revents & POLLERR) != 0);
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

void printResult(const std::string& text) {
  if (Output(STDOUT_FILENO).write(text)) return;
  throw Failure(ExitStatus::Failed, "standard output", "cannot be written", "make room on the disk that it goes to");
}

void printError(const std::string& text) {
  std::istringstream lines(text);
  std::string shown, line;
  while (std::getline(lines, line)) shown += (shown.empty() ? "quillmere: " : "") + printable(line) + "\n";
  Output(STDERR_FILENO).write(shown);
}

void printWarnings(const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) printError("warning: " + warning);
}

}  // namespace quillmere::app
