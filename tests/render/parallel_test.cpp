#include "render/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace quillmere::render {
namespace {

TEST(ForEach, EveryIndexIsVisitedOnce) {
  for (const int threads : {1, 2, 9}) {
    for (const int count : {0, 1, 5, 1000}) {
      std::vector<std::atomic<int>> visits(static_cast<std::size_t>(count));
      EXPECT_EQ(forEach(count, threads, {}, [&](int i) { ++visits[static_cast<std::size_t>(i)]; }), Outcome::Complete);
      for (const std::atomic<int>& each : visits) ASSERT_EQ(each, 1) << threads << " threads, " << count << " indices";
    }
  }
}

TEST(ForEach, FailuresOnAnyThreadReachTheCaller) {
  for (const int threads : {1, 4}) {
    std::atomic<int> done{0};
    const auto work = [&](int i) {
      ++done;
      if (i >= 20) throw std::runtime_error("no more");
    };
    EXPECT_THROW(forEach(100000, threads, {}, work), std::runtime_error);
    EXPECT_LT(done, 1000);
    EXPECT_THROW(forEach(
                     5, threads, []() -> bool { throw std::logic_error("asked"); }, [](int) {}),
                 std::logic_error);
  }
}

}  // namespace
}  // namespace quillmere::render
