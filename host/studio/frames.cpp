#include "frames.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <optional>

#include "base/error.h"
#include "base/file_reading.h"
#include "files/exchange_files.h"
#include "files/merged_files.h"
#include "record/picture_record.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestText = std::uintmax_t{1} << 20U;  // bytes
constexpr std::uintmax_t kLargestLog = std::uintmax_t{4} << 20U;
constexpr int kDeepest = 20;
constexpr std::chrono::seconds kSettled{2};

// The frame's number where `name` is "<stem><frame><ending>".
std::optional<std::int64_t> numberIn(std::string_view name, std::string_view stem, std::string_view ending) {
  if (!name.starts_with(stem) || !name.ends_with(ending) || name.size() <= stem.size() + ending.size()) return {};
  const char* begin = name.data() + stem.size();
  const char* end = name.data() + name.size() - ending.size();
  std::int64_t number = 0;
  const auto [stopped, error] = std::from_chars(begin, end, number);
  if (stopped != end || error != std::errc()) return {};
  return number;
}

Json objectIn(const fs::path& file) {
  try {
    Json json = parsedJson(readText(file, kLargestText), kDeepest);
    return json.is_object() ? json : Json::object();
  } catch (const Error&) {
    return Json::object();
  }
}

std::string textAt(const Json& object, const char* key) {
  const auto value = object.find(key);
  return value != object.end() && value->is_string() ? value->get<std::string>() : "";
}

// Nanoseconds since 1970; 0 when there is no such file.
std::int64_t timeOf(const fs::path& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) != 0) return 0;
  return std::int64_t{facts.st_mtim.tv_sec} * 1'000'000'000 + facts.st_mtim.tv_nsec;
}

// What the helper tells while it works, each as it should be.
void addProgress(const Json& status, Json& told) {
  for (const char* key : {"message", "phase"}) told[key] = textAt(status, key);
  for (const char* key : {"progress", "step", "steps", "seconds_left", "ahead"}) {
    if (const auto value = status.find(key); value != status.end() && value->is_number()) told[key] = *value;
  }
}

struct Times {  // of the request, the status and the response
  std::int64_t asked, told, answered;
};

// What our helper answers before it begins, for the case that it is killed.
constexpr const char* kBegun = "The render was stopped before its picture was finished; render the frame again";

// Between that answer and the one at the end the status is the newer file, but for the moment in which it is still the
// effect's own.
bool hasEnded(const Times& times, const Json& answer, const Json& status) {
  if (answer.empty() || times.answered < times.asked) return false;
  if (answer.value("ok", Json()) == Json(true)) return true;
  return times.answered >= times.told && (textAt(status, "phase") != "prepare" || textAt(answer, "error") != kBegun);
}

fs::path fileOf(const fs::path& folder, const char* stem, std::int64_t frame, const char* extension) {
  return folder / (stem + std::to_string(frame) + extension);
}

// Of all files that a frame is told of.
std::string stampsOf(const fs::path& folder, std::int64_t frame) {
  std::string stamps;
  for (const auto& [stem, extension] : {std::pair{"request_", ".json"},
                                        {"reference_", ".png"},
                                        {"status_", ".json"},
                                        {"response_", ".json"},
                                        {"response_", ".log"},
                                        {"preview_", ".jpg"},
                                        {"preview_", ".png"}}) {
    stamps += stampOf(fileOf(folder, stem, frame, extension)) + "/";
  }
  return stamps;
}

// Empty where there is none.
Json recordOf(const fs::path& picture) {
  try {
    return app::recordOf(picture);
  } catch (const Error&) {
    return Json::object();
  }
}

// Those of which there is one picture a frame.
std::vector<std::string> passesIn(const Json& record) {
  std::vector<std::string> passes;
  const Json told = record.value("passes", Json());
  for (const char* pass : {"depth", "normal", "lines", "object", "material", "albedo"}) {
    if (told.contains(pass)) passes.emplace_back(pass);
  }
  return passes;
}

}  // namespace

Frames::Frames(fs::path writeDirectory, PictureShelf& shelf)
    : writeDirectory_(std::move(writeDirectory)), folder_(app::runtimeFolder(writeDirectory_)), shelf_(shelf) {}

Json Frames::look(const fs::path& folder, std::int64_t frame) const {
  const auto file = [&](const char* stem, const char* extension) { return fileOf(folder, stem, frame, extension); };
  const fs::path response = file("response_", ".json"), status = file("status_", ".json");
  const Times times{timeOf(file("request_", ".json")), timeOf(status), timeOf(response)};
  const Json answer = objectIn(response), latest = objectIn(status);
  const bool ended = hasEnded(times, answer, latest);
  Json told{{"frame", frame}, {"heard", std::max({times.asked, times.told, times.answered}) / 1'000'000}};
  const bool ok = answer.value("ok", Json()) == Json(true);
  told["state"] = !ended ? "running" : ok ? "done" : "failed";
  told["guide"] = shelf_.cardOf(file("reference_", ".png"));
  told["picture"] = ended && ok ? shelf_.cardOf(textAt(answer, "first_output")) : Json();
  told["error"] = ended && !ok ? textAt(answer, "error") : "";
  told["log"] = timeOf(file("response_", ".log")) != 0;
  if (ended) return told;
  addProgress(latest, told);
  const fs::path jpg = file("preview_", ".jpg"), png = file("preview_", ".png");
  told["preview"] = shelf_.cardOf(timeOf(png) > timeOf(jpg) ? png : jpg);
  return told;
}

// Not again while its own time says that nothing has come or gone; that time has a grain, so that a fresh one says
// nothing.
void Frames::readFolder(const fs::path& folder) {
  const std::int64_t time = timeOf(folder);
  Folder& known = folders_[folder];
  if (time == known.read) return;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  known.read = now - std::chrono::nanoseconds(time) > kSettled ? time : -1;
  known.frames.clear();
  std::error_code error;
  for (fs::directory_iterator place(folder, error), end; !error && place != end; place.increment(error)) {
    const auto number = numberIn(place->path().filename().native(), "request_", ".json");
    if (number) known.frames[*number] = {folder, timeOf(place->path())};
  }
}

std::map<std::int64_t, Frames::Place> Frames::places() {
  std::vector<fs::path> folders{folder_};
  std::error_code error;
  for (fs::directory_iterator place(app::jobsFolder(writeDirectory_), error), end; !error && place != end;
       place.increment(error)) {
    folders.push_back(app::runtimeFolder(place->path()));
  }
  std::map<std::int64_t, Place> latest;
  for (const fs::path& folder : folders) {
    readFolder(folder);
    for (const auto& [frame, place] : folders_[folder].frames) {
      const auto [known, added] = latest.emplace(frame, place);
      if (!added && place.asked > known->second.asked) known->second = place;
    }
  }
  return latest;
}

std::vector<Json> Frames::refresh() {
  std::vector<Json> changed;
  const std::lock_guard lock(mutex_);
  const auto latest = places();
  const auto gone = [&](const auto& one) { return !latest.contains(one.first); };
  std::erase_if(stamps_, gone);
  std::erase_if(told_, gone);
  std::erase_if(logs_, gone);
  for (const auto& [frame, place] : latest) {
    const std::string stamps = stampsOf(place.folder, frame);
    if (std::string& known = stamps_[frame]; known != stamps) {
      known = stamps;
      logs_[frame] = fileOf(place.folder, "response_", frame, ".log");
      changed.push_back(told_[frame] = look(place.folder, frame));
    }
  }
  return changed;
}

std::vector<Json> Frames::told() const {
  std::vector<Json> all;
  const std::lock_guard lock(mutex_);
  for (const auto& [frame, told] : told_) all.push_back(told);
  return all;
}

Json Frames::madeWith(std::int64_t frame) const {
  const std::lock_guard lock(mutex_);
  const auto told = told_.find(frame);
  const bool shown = told != told_.end() && told->second["picture"].is_object();
  const auto picture = shown ? shelf_.find(told->second["picture"]["id"]) : std::nullopt;
  const Json record = picture ? recordOf(*picture) : Json::object();
  Json passes = Json::array();
  for (const std::string& pass : passesIn(record)) {
    fs::path latest;
    for (const auto& [folder, read] : folders_) {
      const fs::path file = fileOf(folder, (pass + "_").c_str(), frame, ".png");
      if (timeOf(file) > timeOf(latest)) latest = file;
    }
    if (!latest.empty()) passes.push_back({{"name", pass}, {"picture", shelf_.cardOf(latest)}});
  }
  return {{"passes", passes}, {"fps", record.value("fps", Json())}};
}

std::string Frames::log(std::int64_t frame) const {
  const std::lock_guard lock(mutex_);
  const auto found = logs_.find(frame);
  if (found == logs_.end()) return {};
  const auto file = shelf_.heldWithin(found->second);
  try {
    return file ? readText(file->content(), kLargestLog) : "";
  } catch (const Error&) {
    return {};
  }
}

}  // namespace quillmere::studio
