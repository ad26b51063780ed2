#include "ordinary_file.h"

#include <system_error>

#include "base/file_reading.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// What is there in place of a file; null for a file and for nothing.
const char* otherKindAt(const fs::path& file) {
  std::error_code error;
  switch (fs::status(file, error).type()) {
    case fs::file_type::directory:
      return "folder";
    case fs::file_type::fifo:
      return "pipe";
    case fs::file_type::socket:
      return "socket";
    case fs::file_type::block:
    case fs::file_type::character:
      return "device";
    default:
      return nullptr;
  }
}

}  // namespace

std::optional<Obstacle> obstacleAt(const std::string& what, const fs::path& file) {
  const char* const kind = otherKindAt(file);
  if (!kind) return {};
  return Obstacle{what + " '" + file.string() + "'", std::string("it is a ") + kind + ", not a file", "move it away"};
}

void refuse(const std::optional<Obstacle>& obstacle) {
  if (obstacle) throw Failure(ExitStatus::Failed, obstacle->what, obstacle->why, obstacle->remedy);
}

std::string contentOf(const std::string& what, const fs::path& file, std::uintmax_t most, const std::string& remedy) {
  const std::string named = what + " '" + file.string() + "'";
  if (const auto obstacle = obstacleAt(what, file)) {
    throw Failure(ExitStatus::Failed, named, obstacle->why, remedy);
  }
  return readOrFail(named, remedy, [&] { return readText(file, most); });
}

}  // namespace quillmere::app
