#include "process/process_tree.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool processesVanish = false;

}  // namespace

// In place of the system's: a process may end between the opening of its file in /proc and the reading.
extern "C" ssize_t read(int file, void* buffer, size_t count) {
  if (!processesVanish) return ::syscall(SYS_read, file, buffer, count);
  errno = ESRCH;
  return -1;
}

namespace quillmere::app {
namespace {

TEST(ProcessTree, LeavesOutWhatVanishesWhileItIsRead) {
  const pid_t child = ::fork();
  while (child == 0) ::pause();
  EXPECT_EQ(descendants(::getpid()), std::vector{child});
  processesVanish = true;
  EXPECT_NO_THROW(EXPECT_EQ(descendants(::getpid()), std::vector<pid_t>{}));
  processesVanish = false;
  endDescendants(std::chrono::seconds(5));
  EXPECT_EQ(::waitpid(child, nullptr, 0), -1);
}

}  // namespace
}  // namespace quillmere::app
