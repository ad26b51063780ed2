// Loaded before the C library, this lets the time of day jump by QUILLMERE_FAULTS_JUMP seconds: a while ahead, a while
// back, a while right. All processes agree on it, since they tell the while from the clock that doesn't jump.
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

namespace {

constexpr long kWhile = 70'000'000, kSecond = 1'000'000'000;  // nanoseconds

long jump() {
  static const char* const seconds = std::getenv("QUILLMERE_FAULTS_JUMP");
  timespec steady{};
  syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &steady);
  const long whiles = (steady.tv_sec % 1000 * kSecond + steady.tv_nsec) / kWhile;
  return seconds == nullptr ? 0 : (whiles % 3 - 1) * std::atol(seconds);
}

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* now) noexcept {
  const long result = syscall(SYS_clock_gettime, clock, now);
  if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) now->tv_sec += jump();
  return static_cast<int>(result);
}

time_t time(time_t* result) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (result != nullptr) *result = now.tv_sec;
  return now.tv_sec;
}

int gettimeofday(timeval* result, void*) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  *result = {now.tv_sec, now.tv_nsec / 1000};
  return 0;
}

}  // extern "C"
