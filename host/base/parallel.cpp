#include "base/parallel.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <atomic>

namespace quillmere {

Outcome forEach(int count, int threads, const std::function<bool()>& stop, const std::function<void(int)>& work) {
  std::atomic<bool> stopped{false};
  // The pool's own synchronisation lies in its library; these tell the thread sanitizer what comes before what.
  std::atomic<int> begun{0}, done{0};
  const auto one = [&](int i) {
    begun.load(std::memory_order_acquire);
    if (stopped) return;
    if (stop && stop()) {
      stopped = true;
    } else {
      work(i);
    }
    done.fetch_add(1, std::memory_order_release);
  };
  begun.store(1, std::memory_order_release);
  tbb::task_group_context context;  // of its own: a loop within a loop is not ended with that one's siblings
  tbb::task_arena(std::clamp(threads, 1, std::max(1, count))).execute([&] {
    tbb::parallel_for(0, count, one, tbb::simple_partitioner(), context);
  });
  done.load(std::memory_order_acquire);
  return stopped ? Outcome::Stopped : Outcome::Complete;
}

int allCores() {
  return tbb::this_task_arena::max_concurrency();
}

}  // namespace quillmere
