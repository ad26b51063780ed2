#include "exchange_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>

#include "base/error.h"
#include "base/file_reading.h"

namespace quillmere::app {

// Where others may write, a link that they have put there would lead the effect's writing elsewhere.
std::optional<Obstacle> obstacleAtLink(const char* what, const std::filesystem::path& file) {
  if (auto found = obstacleAt(what, file)) return found;
  std::error_code error;
  if (!std::filesystem::is_symlink(file, error)) return {};
  return Obstacle{std::string(what) + " '" + file.string() + "'", "it is a link, not a file", "move it away"};
}

namespace {

namespace fs = std::filesystem;

struct Kind {
  const char *what, *stem, *extension;
};

constexpr std::uintmax_t kMostLookedAt = std::uintmax_t{64} << 20U;  // bytes

constexpr Kind kGuide{"guide", "reference_", ".png"};
constexpr Kind kResponse{"response file", "response_", ".json"};
constexpr Kind kStatus{"status file", "status_", ".json"};
constexpr std::array kOfFrame{kGuide, Kind{"request file", "request_", ".json"}, kResponse, kStatus};

fs::path fileOf(const Kind& kind, const fs::path& writeDirectory, std::int32_t frame) {
  return runtimeFolder(writeDirectory) / (kind.stem + std::to_string(frame) + kind.extension);
}

constexpr mode_t kOwnFolder = 0755;  // whatever the user's mask lets others do elsewhere

// Each below the one before it, but for the last, which the effect makes when there is a history.
std::array<fs::path, 4> foldersBelow(const fs::path& writeDirectory) {
  const fs::path exchange = exchangeFolder(writeDirectory);
  return {exchange.parent_path(), exchange, exchange / "runtime", exchange / "history"};
}

bool isOwnLink(const fs::path& file) {
  struct stat facts {};
  return ::lstat(file.c_str(), &facts) == 0 && S_ISLNK(facts.st_mode) && facts.st_uid == ::geteuid();
}

// Whatever lies at `folder` must be one, the user's own, and nobody else's to write to.
std::optional<Obstacle> obstacleToOwning(const fs::path& folder) {
  struct stat facts {};
  if (::lstat(folder.c_str(), &facts) != 0) return {};
  const bool own = facts.st_uid == ::geteuid();
  const char* why = nullptr;
  if (!own) {
    why = "it belongs to another user";
  } else if (!S_ISDIR(facts.st_mode)) {
    why = "it is no folder";
  } else if ((facts.st_mode & S_IWOTH) != 0) {
    why = "every user may write to it";
  }
  if (why == nullptr) return {};
  return Obstacle{"write directory '" + folder.string() + "'", why, "give --write-dir a folder of your own"};
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
    const bool harmless = !entry.is_symlink(error) && (entry.is_regular_file(error) || entry.is_directory(error));
    return harmless ? std::nullopt : obstacleAtLink("history entry", entry.path());
  });
}

std::optional<Obstacle> obstacleInHistories(const fs::path& folder) {
  return firstIn(folder, [](const fs::directory_entry& document) {
    std::error_code error;
    if (document.is_symlink(error)) return obstacleAtLink("history", document.path());
    return obstacleInHistory(document);
  });
}

}  // namespace

fs::path exchangeFolder(const fs::path& writeDirectory) {
  return writeDirectory / "quillmere" / "c4d";
}

fs::path runtimeFolder(const fs::path& writeDirectory) {
  return exchangeFolder(writeDirectory) / "runtime";
}

fs::path passFile(const fs::path& writeDirectory, const std::string& stem, std::int32_t frame) {
  return runtimeFolder(writeDirectory) / (stem + "_" + std::to_string(frame) + ".png");
}

fs::path historyFolder(const fs::path& writeDirectory) {
  return exchangeFolder(writeDirectory) / "history";
}

std::vector<fs::path> historyEntries(const fs::path& writeDirectory, std::int32_t frame) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(historyFolder(writeDirectory), error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.ends_with("_f" + std::to_string(frame) + ".json")) entries.push_back(entry->path());
  }
  return entries;
}

std::vector<fs::path> filesOfFrame(const fs::path& writeDirectory, std::int32_t frame) {
  std::vector<fs::path> files;
  files.reserve(kOfFrame.size() + 1);
  for (const Kind& kind : kOfFrame) files.push_back(fileOf(kind, writeDirectory, frame));
  files.push_back(fileOf({kResponse.what, kResponse.stem, ".log"}, writeDirectory, frame));
  return files;
}

fs::path viewStateFile(const fs::path& writeDirectory) {
  return runtimeFolder(writeDirectory) / "render_view_state.json";
}

fs::path viewStateCopy(const fs::path& writeDirectory) {
  return runtimeFolder(writeDirectory) / "former_render_view_state.json";
}

fs::path guideFile(const fs::path& writeDirectory, std::int32_t frame) {
  return fileOf(kGuide, writeDirectory, frame);
}

fs::path statusFile(const fs::path& writeDirectory, std::int32_t frame) {
  return fileOf(kStatus, writeDirectory, frame);
}

fs::path responseFile(const fs::path& writeDirectory, std::int32_t frame) {
  return fileOf(kResponse, writeDirectory, frame);
}

void setFormerResponseAside(const fs::path& writeDirectory, std::int32_t frame) {
  const fs::path response = responseFile(writeDirectory, frame);
  std::error_code error;
  fs::rename(response, response.parent_path() / ("former_" + response.filename().string()), error);
}

bool isCutOff(const fs::path& file) {
  std::error_code error;
  if (!fs::is_regular_file(fs::symlink_status(file, error))) return false;
  try {
    const std::string text = readText(file, kMostLookedAt);
    const std::size_t end = text.find_last_not_of(" \n");
    return end == std::string::npos || (file.extension() == ".json" && text[end] != '}');
  } catch (const Error&) {
    return false;
  }
}

std::vector<fs::path> incompleteFiles(const fs::path& writeDirectory, std::int32_t frame) {
  std::vector<fs::path> incomplete;
  const auto look = [&incomplete](const fs::path& file) {
    if (isCutOff(file)) incomplete.push_back(file);
  };
  for (const Kind& kind : kOfFrame) look(fileOf(kind, writeDirectory, frame));
  look(viewStateFile(writeDirectory));
  for (const fs::path& entry : historyEntries(writeDirectory, frame)) look(entry);
  return incomplete;
}

std::optional<Obstacle> obstacleForFrame(const fs::path& writeDirectory, std::int32_t frame) {
  std::optional<Obstacle> found;
  for (const Kind& kind : kOfFrame) {
    if (!found) found = obstacleAtLink(kind.what, fileOf(kind, writeDirectory, frame));
  }
  return found;
}

std::optional<Obstacle> obstacleForAll(const fs::path& writeDirectory) {
  if (auto found = obstacleToWriting(writeDirectory)) return found;
  const fs::path runtime = runtimeFolder(writeDirectory);
  if (auto found = obstacleAtLink("view state", viewStateFile(writeDirectory))) return found;
  if (auto found = obstacleAtLink("view state's copy", viewStateCopy(writeDirectory))) return found;
  if (auto found = obstacleAtLink("provenance", runtime / "provenance.json")) return found;
  return obstacleInHistories(historyFolder(writeDirectory));
}

std::optional<Obstacle> obstacleToWriting(const fs::path& writeDirectory) {
  std::error_code error;  // a link of the user's own may lead to it
  const fs::path own = isOwnLink(writeDirectory) ? fs::weakly_canonical(writeDirectory, error) : writeDirectory;
  std::optional<Obstacle> found = obstacleToOwning(own);
  for (const fs::path& folder : foldersBelow(own)) {
    if (!found) found = obstacleToOwning(folder);
  }
  return found;
}

std::error_code makeFolders(const fs::path& writeDirectory) {
  std::error_code error;
  fs::create_directories(writeDirectory.parent_path(), error);
  ::mkdir(writeDirectory.c_str(), kOwnFolder);
  const auto folders = foldersBelow(writeDirectory);
  for (const fs::path& folder : std::span(folders).first(3)) {
    if (::mkdir(folder.c_str(), kOwnFolder) != 0 && errno != EEXIST) return {errno, std::generic_category()};
  }
  return {};
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
