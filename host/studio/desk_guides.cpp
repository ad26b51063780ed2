#include "desk_guides.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "base/content_hash.h"
#include "desk_job.h"
#include "own_command.h"
#include "request.h"
#include "values/frames.h"
#include "values/output_pattern.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr int kCameraSide = 240;  // pixels
// Of a final guide that is drawn to be looked at: where the job doesn't say, and however much it says.
constexpr std::int64_t kFewSamples = 4, kMostSamples = 64;

// The job's shape at another size.
std::string sizeWithin(const Json& options, int longest) {
  app::PictureSize size;
  if (const auto given = options.find("size"); given != options.end() && given->is_string()) {
    size = app::parsePictureSize(given->get<std::string>());
  }
  const double share = std::min(1.0, static_cast<double>(longest) / std::max(size.width, size.height));
  const auto side = [&](int pixels) {
    return std::to_string(std::max(1, static_cast<int>(std::lround(pixels * share))));
  };
  return side(size.width) + "x" + side(size.height);
}

// A path as --output reads it: "%" begins a placeholder there.
std::string patternFor(const fs::path& path) {
  std::string text;
  for (const char letter : path.string()) text.append(letter == '%' ? 2 : 1, letter);
  return text;
}

// Without the file of the frames.
Json& optionsOf(Json& job) {
  Json& options = job["options"];
  if (!options.is_object()) throw Refused(400, "'options' is missing");
  options.erase("output");
  return options;
}

// One that other guides don't have, also after the scene was written again.
std::string nameFor(const Json& job, const std::vector<std::string>& words) {
  std::string all = stampOf(job.value("scene", ""));
  for (const std::string& word : words) all += '\0' + word;
  return contentHash(all);
}

}  // namespace

void DeskGuides::clear() const {
  std::error_code error;
  std::set<std::pair<fs::file_time_type, fs::path>> kept;
  for (const auto& entry : fs::directory_iterator(folder_, error))
    kept.emplace(entry.last_write_time(error), entry.path());
  for (auto oldest = kept.begin(); oldest != kept.end() && kept.size() > kKept; oldest = kept.erase(oldest)) {
    fs::remove(oldest->second, error);
  }
}

void DeskGuides::draw(Easel& easel, std::vector<std::string> words, const std::vector<fs::path>& files) {
  const unsigned mine = ++easel.newest;
  const auto old = [&] { return easel.newest != mine; };
  const auto there = [](const fs::path& file) {
    std::error_code error;
    return fs::is_regular_file(file, error);
  };
  const std::lock_guard lock(easel.drawing);
  if (old()) throw Refused(409, "something newer was asked for");
  if (std::all_of(files.begin(), files.end(), there)) return;
  std::error_code error;
  fs::create_directories(folder_, error);
  runCommand(std::move(words), old);
  clear();
}

Json DeskGuides::live(const Json& wanted, int longest) {
  Json job = wanted;
  Json& options = optionsOf(job);
  options["size"] = sizeWithin(options, longest);
  if (const auto camera = options.find("camera"); camera != options.end() && camera->is_array() && camera->size() > 1) {
    camera->erase(camera->begin() + 1, camera->end());
  }
  const Json samples = options.value("samples", Json(kFewSamples));
  const auto number = numberIn<std::int64_t>(samples.is_string() ? samples.get<std::string>() : samples.dump());
  if (number && *number > kMostSamples) options["samples"] = kMostSamples;
  if (!options.contains("samples")) options["samples"] = kFewSamples;
  std::vector<std::string> words = wordsFor("guide", job);
  const fs::path file = folder_ / (nameFor(job, words) + ".png");
  words.push_back("--output=" + patternFor(file));
  draw(live_, std::move(words), {file});
  return shelf_.cardOf(file);
}

Json DeskGuides::cameras(Json job, const std::vector<std::string>& names) {
  Json& options = optionsOf(job);
  for (const char* own : {"view", "turntable"}) options.erase(own);
  options["size"] = sizeWithin(options, kCameraSide);
  options["camera"] = names;
  job["set"] = Json::object();  // quick
  std::vector<std::string> words = wordsFor("guide", job);
  const std::string output = patternFor(folder_ / (nameFor(job, words) + "_{camera}.png"));
  words.push_back("--output=" + output);
  const app::OutputPattern pattern = app::OutputPattern::parse(output);
  std::vector<fs::path> files;
  files.reserve(names.size());
  for (const std::string& name : names) files.push_back(pattern.forCamera(name).fileFor(0));
  draw(cameras_, std::move(words), files);
  Json cards = Json::array();
  for (std::size_t i = 0; i < names.size(); ++i)
    cards.push_back({{"name", names[i]}, {"picture", shelf_.cardOf(files[i])}});
  return cards;
}

}  // namespace quillmere::studio
