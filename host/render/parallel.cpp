#include "parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace quillmere::render {
namespace {

class Crew {  // the threads beside the calling one; joins them when it goes
 public:
  Crew(int size, const std::function<void()>& job) {
    threads_.reserve(static_cast<std::size_t>(std::max(size, 0)));
    try {
      for (int i = 0; i < size; ++i) threads_.emplace_back(job);
    } catch (const std::system_error&) {
      // The machine grants no more threads: those there are share the work.
    }
  }
  ~Crew() {
    for (std::thread& thread : threads_) thread.join();
  }
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

 private:
  std::vector<std::thread> threads_;
};

class FirstFailure {
 public:
  void keepCurrent() {
    const std::lock_guard lock(mutex_);
    if (!failure_) failure_ = std::current_exception();
  }
  void rethrow() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  std::mutex mutex_;
  std::exception_ptr failure_;
};

}  // namespace

Outcome forEach(int count, int threads, const std::function<bool()>& stop, const std::function<void(int)>& work) {
  std::atomic<int> next{0};
  std::atomic<bool> stopped{false};
  FirstFailure failure;
  const auto drain = [&] {
    try {
      for (int i = next++; i < count && !stopped; i = next++) {
        if (stop && stop()) {
          stopped = true;
          return;
        }
        work(i);
      }
    } catch (...) {
      failure.keepCurrent();
      stopped = true;
    }
  };
  {
    const Crew crew(std::min(threads, count) - 1, drain);
    drain();
  }
  failure.rethrow();
  return stopped ? Outcome::Stopped : Outcome::Complete;
}

int allCores() {
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

}  // namespace quillmere::render
