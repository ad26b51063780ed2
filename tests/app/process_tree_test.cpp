#include "process/process_tree.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "process/child_run.h"

namespace quillmere::app {
namespace {

using namespace std::chrono_literals;

pid_t shell(const std::string& script) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl("/bin/sh", "sh", "-c", script.c_str(), nullptr);
    ::_exit(127);
  }
  return child;
}

bool waitForDescendants(std::size_t count) {
  for (int round = 0; round < 400; ++round) {
    if (descendants(::getpid()).size() >= count) return true;
    std::this_thread::sleep_for(5ms);
  }
  return false;
}

bool nothingIsLeft() {
  return ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD && descendants(::getpid()).empty();
}

TEST(ProcessTree, EndsChildrenGrandchildrenAndOrphans) {
  adoptOrphans();
  struct Row {
    const char *what, *script;
    std::size_t processes;
  };
  for (const auto& [what, script, processes] :
       std::vector<Row>{{"a child", "sleep 60; :", 2},
                        {"grandchildren", "(sleep 60; :) & (sleep 60; :) & wait", 5},
                        {"an orphan whose parent has ended", "(sleep 60; :) &", 2},
                        {"one that ignores the polite signal", "trap '' TERM; sleep 60; :", 2},
                        {"one in a session of its own", "setsid sleep 60 & sleep 60; :", 3}}) {
    SCOPED_TRACE(what);
    ASSERT_GT(shell(script), 0);
    ASSERT_TRUE(waitForDescendants(processes));
    const auto begun = std::chrono::steady_clock::now();
    endDescendants(200ms);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 2s);
    EXPECT_TRUE(nothingIsLeft());
  }
}

TEST(ProcessTree, LetsAChildEndInPeace) {
  const pid_t child = shell("trap 'exit 7' TERM; while :; do sleep 0.02; done");
  ASSERT_TRUE(waitForDescendants(1));
  std::this_thread::sleep_for(50ms);
  const auto begun = std::chrono::steady_clock::now();
  endDescendants(30s);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, 10s);
  EXPECT_EQ(::kill(child, 0), -1);
}

TEST(ChildRun, TellsHowTheChildEnded) {
  using End = ChildResult::End;
  struct Row {
    const char* script;
    End end;
    int status;
    const char* output;
  };
  for (const auto& [script, end, status, output] :
       std::vector<Row>{{"echo out; echo err >&2; exit 3", End::Exited, 3, "out\n"},
                        {"kill -9 $$", End::Killed, -1, ""},
                        {"echo a; sleep 60; :", End::TimedOut, -1, "a\n"},
                        {"exec >&- 2>&-; sleep 60; :", End::TimedOut, -1, ""}}) {
    SCOPED_TRACE(script);
    const ChildResult result = runChild({"sh", "-c", script}, end == End::TimedOut ? 300ms : 20000ms);
    EXPECT_EQ(result.end, end);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.output, output);
    EXPECT_TRUE(nothingIsLeft());
  }
  const ChildResult missing = runChild({"no-such-program-anywhere"}, 1s);
  EXPECT_EQ(missing.end, End::NotStarted);
  EXPECT_NE(missing.errors, "");
}

}  // namespace
}  // namespace quillmere::app
