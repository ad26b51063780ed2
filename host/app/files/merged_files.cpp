#include "merged_files.h"

#include <unistd.h>

#include <string>
#include <system_error>

#include "base/atomic_file.h"
#include "base/error.h"
#include "base/json.h"
#include "exchange_files.h"
#include "view_state.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr int kIndentation = 2;

// Under a hidden name first, whose process tells when it can be swept, so that a reader meets a whole file.
void show(const fs::path& file, const fs::path& as) {
  const fs::path beside =
      as.parent_path() / ("." + as.filename().string() + "." + std::to_string(::getpid()) + ".part");
  std::error_code error;
  fs::remove(beside, error);
  fs::create_hard_link(file, beside, error);
  if (error) fs::copy_file(file, beside, error);
  if (!error) fs::rename(beside, as, error);
  if (error) fs::remove(beside, error);
}

void mergeHistory(const fs::path& from, const fs::path& into, std::int32_t frame) {
  for (const fs::path& entry : historyEntries(from, frame)) {
    const fs::path document = historyFolder(into) / entry.parent_path().filename();
    std::error_code error;
    fs::create_directories(document, error);
    show(entry, document / entry.filename());
  }
}

}  // namespace

fs::path jobsFolder(const fs::path& writeDirectory) {
  return exchangeFolder(writeDirectory) / "jobs";
}

fs::path writeDirectoryOfJob(const fs::path& writeDirectory, int number) {
  return jobsFolder(writeDirectory) / std::to_string(number);
}

void mergeFrame(const fs::path& from, const fs::path& into, std::int32_t frame) noexcept {
  try {
    setFormerResponseAside(into, frame);
    for (const fs::path& file : filesOfFrame(from, frame)) {
      const fs::path as = runtimeFolder(into) / file.filename();
      std::error_code error;
      if (fs::is_regular_file(fs::symlink_status(file, error))) {
        show(file, as);
      } else if (file.extension() == ".log") {
        fs::remove(as, error);  // of an earlier failure
      }
    }
    mergeHistory(from, into, frame);
  } catch (const std::exception&) {
    return;
  }
}

void mergeViewState(const fs::path& from, const fs::path& into) noexcept {
  try {
    Json state = viewStateIn(from);
    if (state.empty()) return;
    const std::string own = exchangeFolder(from).string(), shared = exchangeFolder(into).string();
    for (auto& [key, value] : state.items()) {
      if (!value.is_string()) continue;
      const std::string& path = value.get_ref<const std::string&>();
      if (path.starts_with(own + "/")) value = shared + path.substr(own.size());
    }
    state[kLockedStyle] = lockedStyle(into);
    writeFile(viewStateFile(into), state.dump(kIndentation, ' ', false, Json::error_handler_t::replace) + "\n");
  } catch (const std::exception&) {
    return;
  }
}

void lockStyle(const fs::path& writeDirectory, const std::string& picture) {
  if (lockedStyle(writeDirectory) == picture) return;
  Json state = viewStateIn(writeDirectory);
  state[kLockedStyle] = picture;
  writeFile(viewStateFile(writeDirectory), state.dump(kIndentation, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace quillmere::app
