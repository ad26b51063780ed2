#include "process/user_break.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>

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

}  // namespace
}  // namespace quillmere::app
