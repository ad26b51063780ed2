#include "process/user_break.h"

#include <gtest/gtest.h>
#include <signal.h>

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

}  // namespace
}  // namespace quillmere::app
