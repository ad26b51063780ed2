#include "jobs.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <thread>

namespace quillmere::app {
namespace {

constexpr const char* kEmbedded = "embedded";  // as the helper calls its own drawing
constexpr int kMostByDefault = 64;
constexpr std::uintmax_t kHelper = std::uintmax_t{256} << 20U;  // bytes that a helper may take beside a scene

// Bytes that can be had without pushing others out; none where that can't be told.
std::optional<std::uintmax_t> freeMemory() {
  std::ifstream facts("/proc/meminfo");
  for (std::string key; facts >> key;) {
    std::uintmax_t kilobytes = 0;
    if (key == "MemAvailable:" && facts >> kilobytes) return kilobytes << 10U;
  }
  return {};
}

// Bytes of memory that this process holds.
std::uintmax_t ownMemory() {
  std::ifstream facts("/proc/self/statm");
  std::uintmax_t all = 0, resident = 0;
  facts >> all >> resident;
  return resident * static_cast<std::uintmax_t>(::sysconf(_SC_PAGESIZE));
}

int fitting() {
  const auto memory = freeMemory();
  if (!memory) return kMostByDefault;
  // Twice: what rays are traced in comes on top of the scene.
  const std::uintmax_t number = *memory / (2 * ownMemory() + kHelper);
  return static_cast<int>(std::clamp<std::uintmax_t>(number, 1, kMostByDefault));
}

int paying(const BackEnd& backend) {
  if (backend.name.empty()) return 1;
  if (backend.name != kEmbedded)
    return static_cast<int>(std::clamp<std::int64_t>(backend.servers, 1, kMostByDefault - 1) + 1);
  const int cores = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));
  return std::min(cores, fitting());
}

}  // namespace

int jobsFor(std::optional<int> asked, const BackEnd& backend, std::int64_t frames) {
  if (frames <= 1) return 1;
  return static_cast<int>(std::min<std::int64_t>(asked ? *asked : paying(backend), frames));
}

}  // namespace quillmere::app
