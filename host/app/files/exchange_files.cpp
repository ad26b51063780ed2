#include "exchange_files.h"

#include <algorithm>
#include <array>

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

struct Kind {
  const char *what, *stem, *extension;
};

constexpr Kind kGuide{"guide", "reference_", ".png"};
constexpr Kind kStatus{"status file", "status_", ".json"};
constexpr std::array kOfFrame{kGuide, Kind{"request file", "request_", ".json"},
                              Kind{"response file", "response_", ".json"}, kStatus};

fs::path fileOf(const Kind& kind, const fs::path& writeDirectory, std::int32_t frame) {
  return runtimeFolder(writeDirectory) / (kind.stem + std::to_string(frame) + kind.extension);
}

// The first of a folder's entries that `check` finds something about.
template <class Check>
std::optional<Obstacle> firstIn(const fs::path& folder, const Check& check) {
  std::error_code error;
  std::optional<Obstacle> found;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end && !found; entry.increment(error)) {
    found = check(*entry);
  }
  return found;
}

std::optional<Obstacle> obstacleInHistory(const fs::directory_entry& document) {
  return firstIn(document.path(), [](const fs::directory_entry& entry) {
    std::error_code error;
    const bool harmless = entry.is_regular_file(error) || entry.is_directory(error);
    return harmless ? std::nullopt : obstacleAt("history entry", entry.path());
  });
}

}  // namespace

fs::path exchangeFolder(const fs::path& writeDirectory) {
  return writeDirectory / "quillmere" / "c4d";
}

fs::path runtimeFolder(const fs::path& writeDirectory) {
  return exchangeFolder(writeDirectory) / "runtime";
}

fs::path guideFile(const fs::path& writeDirectory, std::int32_t frame) {
  return fileOf(kGuide, writeDirectory, frame);
}

fs::path statusFile(const fs::path& writeDirectory, std::int32_t frame) {
  return fileOf(kStatus, writeDirectory, frame);
}

std::optional<Obstacle> obstacleForFrame(const fs::path& writeDirectory, std::int32_t frame) {
  std::optional<Obstacle> found;
  for (const Kind& kind : kOfFrame) {
    if (!found) found = obstacleAt(kind.what, fileOf(kind, writeDirectory, frame));
  }
  return found;
}

std::optional<Obstacle> obstacleForAll(const fs::path& writeDirectory) {
  if (auto found = obstacleAt("view state", runtimeFolder(writeDirectory) / "render_view_state.json")) return found;
  return firstIn(exchangeFolder(writeDirectory) / "history", obstacleInHistory);
}

std::optional<Obstacle> obstacleForAny(const fs::path& writeDirectory) {
  return firstIn(runtimeFolder(writeDirectory), [](const fs::directory_entry& entry) {
    const std::string name = entry.path().filename();
    const auto kind =
        std::find_if(kOfFrame.begin(), kOfFrame.end(), [&name](const Kind& one) { return name.starts_with(one.stem); });
    return kind == kOfFrame.end() ? std::nullopt : obstacleAt(kind->what, entry.path());
  });
}

}  // namespace quillmere::app
