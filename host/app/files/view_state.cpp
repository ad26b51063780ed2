#include "view_state.h"

#include <string>

#include "base/atomic_file.h"
#include "base/error.h"
#include "base/file_reading.h"
#include "base/json.h"
#include "exchange_files.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr int kDeepest = 8;
constexpr std::uintmax_t kMost = std::uintmax_t{1} << 20U;  // bytes; it holds five paths

std::string contentOrNothing(const fs::path& file) {
  std::error_code error;
  return fs::is_regular_file(fs::symlink_status(file, error)) ? readText(file, kMost) : "";
}

}  // namespace

Json viewStateIn(const fs::path& writeDirectory) {
  try {
    Json state = parsedJson(contentOrNothing(viewStateFile(writeDirectory)), kDeepest);
    return state.is_object() ? state : Json::object();
  } catch (const Error&) {
    return Json::object();
  }
}

std::string lockedStyle(const fs::path& writeDirectory) {
  const Json state = viewStateIn(writeDirectory);
  const auto style = state.find(kLockedStyle);
  return style != state.end() && style->is_string() ? style->get<std::string>() : "";
}

void keepViewState(const fs::path& writeDirectory) noexcept {
  try {
    const fs::path state = viewStateFile(writeDirectory), copy = viewStateCopy(writeDirectory);
    const std::string kept = contentOrNothing(copy);
    if (isCutOff(state)) {
      if (!kept.empty()) writeFile(state, kept);
    } else if (const std::string now = contentOrNothing(state); !now.empty() && now != kept) {
      writeFile(copy, now);
    }
  } catch (const std::exception&) {
    return;  // the frame's own error tells what is wrong with the disk
  }
}

}  // namespace quillmere::app
