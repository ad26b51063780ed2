#include "lifeline.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace quillmere::app {
namespace {

constexpr const char* kVariable = "QUILLMERE_HOST_PIPE";

}  // namespace

Lifeline::Lifeline() {
  ::unsetenv(kVariable);  // of a host that has started this one
  struct stat facts {};
  if (::pipe(ends_.data()) != 0 || ::fstat(ends_[0], &facts) != 0) return;
  ::fcntl(ends_[1], F_SETFD, FD_CLOEXEC);
  ::setenv(kVariable, (std::to_string(ends_[0]) + ":" + std::to_string(facts.st_ino)).c_str(), 1);
}

Lifeline::~Lifeline() {
  ::unsetenv(kVariable);
  for (const int end : ends_) {
    if (end >= 0) ::close(end);
  }
}

}  // namespace quillmere::app
