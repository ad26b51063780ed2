#include "base/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "base/error.h"
#include "refusal.h"

namespace quillmere {
namespace {

TEST(ForEach, EachIndexIsWorkedOnOnceWhateverTheNumberOfThreads) {
  for (const int threads : {-1, 1, 2, 64}) {
    for (const int count : {0, 1, 1000}) {
      std::vector<std::atomic<int>> calls(static_cast<std::size_t>(count));
      const Outcome outcome = forEach(count, threads, {}, [&](int i) {
        forEach(2, threads, {}, [&](int) { ++calls[static_cast<std::size_t>(i)]; });  // a loop within a loop
      });
      EXPECT_EQ(outcome, Outcome::Complete);
      for (const auto& call : calls) EXPECT_EQ(call, 2);
    }
  }
}

TEST(ForEach, AStopAndAFailureEndTheRest) {
  for (const int threads : {1, 4}) {
    std::atomic<int> calls = 0;
    EXPECT_EQ(forEach(
                  100'000, threads, [&] { return calls >= 10; }, [&](int) { ++calls; }),
              Outcome::Stopped);
    EXPECT_GE(calls, 10);
    EXPECT_LE(calls, 10 + threads);
    const auto failing = [&] {
      forEach(100'000, threads, {}, [&](int i) {
        if (++calls > 100) throw Error("at " + std::to_string(i));
      });
    };
    EXPECT_EQ(refusalOf<Error>(failing).substr(0, 3), "at ");
    EXPECT_LT(calls, 50'000);
  }
}

}  // namespace
}  // namespace quillmere
