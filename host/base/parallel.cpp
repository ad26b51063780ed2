#include "base/parallel.h"

#include <pthread.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace quillmere {
namespace {

constexpr std::size_t kStackOfWorker = std::size_t{4} << 20U;  // oneTBB's default

void* waitForOthers(void* gate) {
  const std::lock_guard passed(*static_cast<std::mutex*>(gate));
  return nullptr;
}

// How many of `wanted` threads can run at once, the calling one among them: memory and processes may be limited.
int startable(int wanted) {
  std::mutex gate;
  std::vector<pthread_t> started;
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setstacksize(&attributes, kStackOfWorker);
  {
    const std::lock_guard closed(gate);
    pthread_t thread;
    while (static_cast<int>(started.size()) + 1 < wanted &&
           ::pthread_create(&thread, &attributes, waitForOthers, &gate) == 0) {
      started.push_back(thread);
    }
  }
  for (const pthread_t thread : started) ::pthread_join(thread, nullptr);
  ::pthread_attr_destroy(&attributes);
  return static_cast<int>(started.size()) + 1;
}

#ifndef __SANITIZE_THREAD__
template <class Work>
void dealOut(int count, int threads, const Work& work) {
  tbb::task_group_context context;  // of its own: a loop within a loop is not ended with that one's siblings
  tbb::task_arena(threads).execute([&] { tbb::parallel_for(0, count, work, tbb::simple_partitioner(), context); });
}
#else
// oneTBB isn't built with the sanitizer, which would take all that passes through it for races.
template <class Work>
void dealOut(int count, int threads, const Work& work) {
  std::atomic<int> next{0};
  std::mutex guard;
  std::exception_ptr failure;  // the first
  const auto takeInTurn = [&] {
    for (int i = next++; i < count; i = next++) {
      try {
        work(i);
      } catch (...) {
        const std::lock_guard locked(guard);
        if (!failure) failure = std::current_exception();
        next = count;
      }
    }
  };
  {
    std::vector<std::jthread> others;
    while (static_cast<int>(others.size()) + 1 < threads) others.emplace_back(takeInTurn);
    takeInTurn();
  }
  if (failure) std::rethrow_exception(failure);
}
#endif

}  // namespace

Outcome forEach(int count, int threads, const std::function<bool()>& stop, const std::function<void(int)>& work) {
  std::atomic<bool> stopped{false};
  dealOut(count, std::clamp(threads, 1, std::max(1, count)), [&](int i) {
    if (stopped) return;
    if (stop && stop()) {
      stopped = true;
    } else {
      work(i);
    }
  });
  return stopped ? Outcome::Stopped : Outcome::Complete;
}

int allCores() {
  static const int cores = startable(tbb::this_task_arena::max_concurrency());
  // Never taken back: at the end of the process the pool would try to start what it could not before.
  alignas(tbb::global_control) static std::byte storage[sizeof(tbb::global_control)];
  static const auto* const limit =
      new (storage) tbb::global_control(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(cores));
  static_cast<void>(limit);
  return cores;
}

}  // namespace quillmere
