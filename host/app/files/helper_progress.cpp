#include "helper_progress.h"

#include <array>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

#include "base/file_reading.h"
#include "base/json.h"
#include "exchange_files.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPreviews = "QUILLMERE_PREVIEWS";  // the helper's variable
constexpr std::chrono::milliseconds kPause{100};
constexpr std::size_t kLargest = 64U << 10U;  // bytes of a status
constexpr std::size_t kLongest = 4U << 10U;   // bytes of a text in it
constexpr int kDeepest = 8;
constexpr double kMostSeconds = 1e7;
constexpr std::int64_t kMost = 1'000'000'000;  // steps, jobs

std::array<fs::path, 2> previewsOf(const fs::path& folder, std::int32_t frame) {
  const std::string stem = "preview_" + std::to_string(frame);
  return {folder / (stem + ".jpg"), folder / (stem + ".png")};
}

std::string text(const Json& status, const char* key) {
  const auto found = status.find(key);
  const bool fits = found != status.end() && found->is_string();
  return fits && found->get_ref<const std::string&>().size() <= kLongest ? found->get<std::string>() : "";
}

std::optional<double> number(const Json& status, const char* key, double most) {
  const auto found = status.find(key);
  if (found == status.end() || !found->is_number()) return {};
  const double value = found->get<double>();
  return value >= 0 && value <= most ? std::optional(value) : std::nullopt;
}

std::optional<std::int64_t> whole(const Json& status, const char* key) {
  const auto found = status.find(key);
  const bool is = found != status.end() && found->is_number_integer() && number(status, key, double(kMost));
  return is ? std::optional(found->get<std::int64_t>()) : std::nullopt;
}

// The helper may name one of the frame's own previews, and nothing else.
std::string preview(const Json& status, const fs::path& folder, std::int32_t frame) {
  const fs::path named(text(status, "preview"));
  for (const fs::path& own : previewsOf(folder, frame)) {
    std::error_code error;
    const bool isOwn = named.lexically_normal() == own || named == own.filename();
    if (isOwn && fs::is_regular_file(fs::symlink_status(own, error))) return own.string();
  }
  return {};
}

Progress progressIn(const Json& status, const fs::path& folder, std::int32_t frame) {
  Progress told;
  told.frame = frame;
  told.phase = text(status, "phase");
  told.message = text(status, "message");
  told.fraction = number(status, "progress", 1);
  told.secondsLeft = number(status, "seconds_left", kMostSeconds);
  told.ahead = whole(status, "ahead");
  const auto step = whole(status, "step"), steps = whole(status, "steps");
  if (step && steps && *step <= *steps) told.steps = {*step, *steps};
  told.preview = preview(status, folder, frame);
  return told;
}

}  // namespace

void askForPreviews() {
  ::setenv(kPreviews, "1", 1);
}

void removePreviews(const fs::path& writeDirectory, std::int32_t frame) {
  for (const fs::path& file : previewsOf(runtimeFolder(writeDirectory), frame)) {
    std::error_code error;
    if (!fs::is_directory(fs::symlink_status(file, error))) fs::remove(file, error);
  }
}

HelperProgress::HelperProgress(const fs::path& writeDirectory, std::int32_t frame, Report& report)
    : folder_(fs::absolute(runtimeFolder(writeDirectory)).lexically_normal()),
      file_(statusFile(writeDirectory, frame)),
      frame_(frame),
      report_(report),
      former_(stamp()),
      seen_(former_) {}

std::function<bool()> HelperProgress::watchingDuring(std::function<bool()> stop) {
  return [this, stop = std::move(stop)] {
    if (std::this_thread::get_id() == thread_) look();
    return stop();
  };
}

std::optional<HelperProgress::Stamp> HelperProgress::stamp() const {
  struct stat facts {};
  if (::stat(file_.c_str(), &facts) != 0) return {};
#ifdef __APPLE__
  const timespec& written = facts.st_mtimespec;
#else
  const timespec& written = facts.st_mtim;
#endif
  return Stamp{facts.st_ino, facts.st_size, written.tv_sec, written.tv_nsec};
}

void HelperProgress::look() {
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + kPause;
  const auto present = stamp();
  if (present == seen_) return;
  seen_ = present;
  try {
    const Json status = parsedJson(readText(file_, kLargest), kDeepest);
    if (status.is_object()) report_.progress(progressIn(status, folder_, frame_));
  } catch (const Error&) {  // half written, taken away, or not what it should be
  }
}

FailureKind HelperProgress::failure() const {
  if (stamp() == former_) return FailureKind::Unknown;
  try {
    const Json status = parsedJson(readText(file_, kLargest), kDeepest);
    const std::string told = status.is_object() ? text(status, "failure") : "";
    return told == "passing" ? FailureKind::Passing : told == "lasting" ? FailureKind::Lasting : FailureKind::Unknown;
  } catch (const Error&) {
    return FailureKind::Unknown;
  }
}

}  // namespace quillmere::app
