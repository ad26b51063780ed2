#include "disk_room.h"

#include <sys/resource.h>
#include <sys/statvfs.h>

namespace quillmere::app {
namespace {

std::string inMiB(std::uintmax_t bytes) {
  return std::to_string((bytes + (1U << 20U) - 1) >> 20U) + " MiB";
}

}  // namespace

std::optional<Obstacle> lackOfRoom(const std::string& what, const std::filesystem::path& folder, std::uintmax_t bytes) {
  const std::string named = what + " '" + folder.string() + "'", need = "; a frame may take " + inMiB(bytes);
  struct statvfs disk {};
  if (::statvfs(folder.empty() ? "." : folder.c_str(), &disk) == 0 && disk.f_blocks > 0) {
    const std::uintmax_t free = static_cast<std::uintmax_t>(disk.f_bavail) * disk.f_frsize;
    if (free < bytes) {
      return Obstacle{named, "its disk is full: " + inMiB(free) + " are free" + need, "make room on it"};
    }
  }
  rlimit size{};
  if (::getrlimit(RLIMIT_FSIZE, &size) == 0 && size.rlim_cur < bytes) {
    return Obstacle{named, "no file may be larger than " + inMiB(size.rlim_cur) + need, "raise the limit (ulimit -f)"};
  }
  return {};
}

}  // namespace quillmere::app
