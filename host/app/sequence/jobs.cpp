#include "jobs.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
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

// Those that the helper's environment variable for the back end lists, with commas or blanks between them; at least
// one.
int serversOf(const std::string& backend) {
  std::string variable = "QUILLMERE_" + backend + "_URL";
  for (char& letter : variable) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  const char* const told = std::getenv(variable.c_str());
  std::string list = told == nullptr ? "" : told;
  std::replace(list.begin(), list.end(), ',', ' ');
  std::istringstream words(list);
  const auto count = std::distance(std::istream_iterator<std::string>(words), std::istream_iterator<std::string>());
  return static_cast<int>(std::clamp<std::ptrdiff_t>(count, 1, kMostByDefault - 1));
}

int paying(const std::string& backend) {
  if (backend.empty()) return 1;
  if (backend != kEmbedded) return serversOf(backend) + 1;
  const int cores = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));
  return std::min(cores, fitting());
}

}  // namespace

int jobsFor(std::optional<int> asked, const std::string& backend, std::int64_t frames) {
  if (frames <= 1) return 1;
  return static_cast<int>(std::min<std::int64_t>(asked ? *asked : paying(backend), frames));
}

}  // namespace quillmere::app
