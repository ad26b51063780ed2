#include "process/user_break.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace quillmere::app {
namespace {

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

TEST(UserBreak, OfAHangUpThatIsIgnoredAsUnderNohupIsNotSeen) {
  ::signal(SIGHUP, SIG_IGN);
  {
    const UserBreak userBreak([] {});
    ::raise(SIGHUP);
    EXPECT_FALSE(userBreak.seen());
  }
  EXPECT_EQ(::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

TEST(UserBreak, TheSecondSignalHasItsLastWordsAndEndsWith130) {
  const auto breakTwice = [] {
    const UserBreak userBreak([] { std::fputs("words", stderr); });
    ::raise(SIGINT);
    ::raise(SIGTERM);
    while (true) ::pause();  // as the render thread would wait for its helper
  };
  EXPECT_EXIT(breakTwice(), testing::ExitedWithCode(130), "words");
}

// The status of a child that ends within five seconds; killed otherwise.
int statusOf(pid_t child) {
  int status = 0;
  for (int round = 0; round < 5000 && ::waitpid(child, &status, WNOHANG) == 0; ++round) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (::kill(child, SIGKILL) == 0) ::waitpid(child, &status, 0);
  return status;
}

// As a helper's process is until it has become the shell.
TEST(UserBreak, IsNotWhatAForkedChildIsToldWhichEndsByIt) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const UserBreak userBreak([] {});
    const pid_t child = ::fork();
    while (child == 0) ::pause();
    ::kill(child, signal);
    EXPECT_EQ(statusOf(child), signal);  // as waitpid tells a death by it
    EXPECT_FALSE(userBreak.seen());
    ::raise(signal);  // one told signal more would end this process
    EXPECT_TRUE(userBreak.seen());
  }
}

}  // namespace
}  // namespace quillmere::app
