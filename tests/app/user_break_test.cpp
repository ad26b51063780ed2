#include "process/user_break.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "failure.h"
#include "process/runtime_lock.h"

namespace quillmere::app {
namespace {

using namespace std::chrono_literals;

TEST(UserBreak, IsSeenFromTheFirstSignalAndForgottenAfterwards) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const UserBreak userBreak([] {});
    EXPECT_FALSE(userBreak.seen());
    ::raise(signal);
    EXPECT_TRUE(userBreak.seen());
  }
  struct sigaction now = {};
  ::sigaction(SIGINT, nullptr, &now);
  EXPECT_EQ(now.sa_handler, SIG_DFL);
}

// In a process of its own, because the second signal ends it.
int statusAfterTwoSignals(int toStdout) {
  const pid_t child = ::fork();
  if (child != 0) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  const pid_t stubborn = ::fork();
  if (stubborn == 0) {
    ::signal(SIGTERM, SIG_IGN);
    while (true) ::pause();
  }
  const UserBreak userBreak([toStdout] { [[maybe_unused]] const ssize_t count = ::write(toStdout, "words", 5); });
  ::kill(::getpid(), SIGINT);
  std::this_thread::sleep_for(20ms);
  [[maybe_unused]] const ssize_t count = ::write(toStdout, &stubborn, sizeof stubborn);
  ::kill(::getpid(), SIGTERM);
  ::waitpid(stubborn, nullptr, 0);  // as the render thread would wait for its helper
  while (true) ::pause();
}

TEST(UserBreak, TheSecondSignalKillsWhatRunsBelowAndEndsWith130) {
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  EXPECT_EQ(statusAfterTwoSignals(pipe[1]), 130);
  pid_t stubborn = 0;
  ASSERT_EQ(::read(pipe[0], &stubborn, sizeof stubborn), static_cast<ssize_t>(sizeof stubborn));
  EXPECT_EQ(::kill(stubborn, 0), -1);
  char words[6] = {};
  EXPECT_EQ(::read(pipe[0], words, 5), 5);
  EXPECT_STREQ(words, "words");
  ::close(pipe[0]);
  ::close(pipe[1]);
}

TEST(RuntimeLock, KeepsASecondRenderOutUntilTheFirstHasEnded) {
  const auto folder = std::filesystem::temp_directory_path() / ("quillmere-lock-" + std::to_string(::getpid()));
  {
    const RuntimeLock first(folder);
    EXPECT_THROW(RuntimeLock second(folder), Failure);
    EXPECT_NO_THROW(RuntimeLock elsewhere(folder / "other"));
  }
  EXPECT_NO_THROW(RuntimeLock third(folder));
  std::filesystem::remove_all(folder);
  EXPECT_THROW(RuntimeLock nowhere("/dev/null/x"), Failure);
}

}  // namespace
}  // namespace quillmere::app
