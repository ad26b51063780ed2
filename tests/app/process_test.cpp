#include "process/child_run.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <thread>
#include <tuple>

#include "process/process_tree.h"
#include "process/user_break.h"

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

using namespace std::chrono_literals;

bool nothingIsLeft() {
  return ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD && descendants(::getpid()).empty();
}

TEST(ChildRun, TellsHowTheChildEnded) {
  using End = ChildResult::End;
  const std::tuple<const char*, End, int, const char*> rows[] = {
      {"echo out; echo err >&2; exit 3", End::Exited, 3, "out\n"},
      {"kill -9 $$", End::Killed, -1, ""},
      {"echo a; sleep 60; :", End::TimedOut, -1, "a\n"},
      {"exec >&- 2>&-; sleep 60; :", End::TimedOut, -1, ""},
  };
  for (const auto& [script, end, status, output] : rows) {
    SCOPED_TRACE(script);
    const ChildResult result = runChild({"sh", "-c", script}, {end == End::TimedOut ? 300ms : 20000ms});
    EXPECT_EQ(result.end, end);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.output, output);
    EXPECT_TRUE(nothingIsLeft());
  }
  const ChildResult missing = runChild({"no-such-program-anywhere"}, {1s});
  EXPECT_EQ(missing.end, End::NotStarted);
  EXPECT_NE(missing.errors, "");
}

TEST(ChildRun, OutOfTimeKillsWhatRunsBelowItAloneWhereOthersRunBeside) {
  const pid_t beside = ::fork();
  while (beside == 0) ::pause();
  const ChildResult result = runChild({"sh", "-c", "sleep 60 & sleep 60"}, {300ms, 100, ChildLimits::Kill::Itself});
  EXPECT_EQ(result.end, ChildResult::End::TimedOut);
  EXPECT_EQ(descendants(::getpid()), std::vector{beside});
  endDescendants(0ms);
}

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
