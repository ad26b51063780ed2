#include "steering_answers.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <filesystem>

#include "base/atomic_file.h"
#include "base/error.h"
#include "base/file_reading.h"
#include "commands/job_file.h"
#include "commands/sequence_options.h"
#include "desk.h"
#include "desk_job.h"
#include "effect/settings.h"
#include "own_command.h"
#include "values/failure.h"
#include "values/frame_set.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargestSaved = 8U << 20U;  // bytes of a job
constexpr int kDeepest = 8;

Steering& steeringOf(Studio& studio) {
  if (studio.steering != nullptr) return *studio.steering;
  throw Refused(404, "the studio was started without a scene: quillmere studio SCENE");
}

// A file for another process of this program, gone at the end of this.
class PassedFile {
 public:
  explicit PassedFile(const Studio& studio) {
    static std::atomic<unsigned> count{0};
    const fs::path folder = studio.watch.studioFolder();
    std::error_code error;
    fs::create_directories(folder, error);
    path_ = folder / ("passed-" + std::to_string(::getpid()) + "-" + std::to_string(count++) + ".json");
  }
  ~PassedFile() {
    std::error_code error;
    fs::remove(path_, error);
  }
  PassedFile(const PassedFile&) = delete;
  PassedFile& operator=(const PassedFile&) = delete;

  std::string path() const { return path_.string(); }
  Json read() const { return parsedJson(readText(path_, kLargestSaved), kDeepest); }
  void write(const Json& content) const { writeFile(path_, lineOf(content)); }

 private:
  fs::path path_;
};

fs::path shownPicture(Studio& studio, const std::string& id) {
  if (const auto file = studio.watch.shelf().shown(id)) return file->place();
  throw Refused(404, "there is no such picture here any more, or it lies where the page may not look");
}

// A picture goes by its identifier, or as this program has named it.
void settleStyle(Studio& studio, Json& job) {
  const auto options = job.find("options");
  if (options == job.end() || !options->is_object() || !options->contains("style")) return;
  const std::string style = requiredText(*options, "style");
  if (style.empty() || studio.steering->desk.knows(style)) return;
  (*options)["style"] = shownPicture(studio, style).string();
}

Json jobIn(Studio& studio, const Json& body) {
  Steering& steering = steeringOf(studio);
  const auto found = body.find("job");
  if (found == body.end() || !found->is_object()) throw Refused(400, "'job' is missing");
  Json job = *found;
  if (!steering.desk.knows(requiredText(job, "scene"))) throw Refused(404, "the page was given no such scene");
  settleStyle(studio, job);
  return job;
}

JobFrames framesIn(const Json& body) {
  return textIn(body, "frames").value_or("current") == "all" ? JobFrames::All : JobFrames::Current;
}

// What can be said without looking at the scene is said at once.
std::vector<std::string> renderWords(const Json& job, JobFrames frames) {
  std::vector<std::string> words = wordsFor("render", job, frames);
  requireRender(words);
  return words;
}

// Those that a sequence of the job renders, as far as it is worth showing each; none where that is a time.
Json framesOf(const Json& job) {
  constexpr std::int64_t kMostShown = 20'000;
  const Json options = job.value("options", Json::object());
  const Json given = options.value("frames", Json());
  Json frames = Json::array();
  if (!given.is_string() || options.contains("time")) return frames;
  const app::FrameSet set = app::parseFrameSet(given.get<std::string>());
  for (std::int64_t i = 0; set.count() <= kMostShown && i < set.count(); ++i) frames.push_back(set.at(i));
  return frames;
}

Json panelOf(Studio& studio, std::vector<std::string> words) {
  return answerOfCommand(withSession(std::move(words), studio.session));
}

Answer desk(Studio& studio, const Request& /*request*/) {
  if (studio.steering == nullptr) return answerWith({{"job", nullptr}});
  Desk& desk = studio.steering->desk;
  return answerWith({{"job", desk.job()}, {"render", desk.told()}, {"options", offeredOptions()}});
}

Answer panel(Studio& studio, const Request& request) {
  const Json job = jobIn(studio, bodyOf(request));
  renderWords(job, JobFrames::All);
  const Json rows = panelOf(studio, wordsFor("panel", job));
  studio.steering->desk.keep(job);
  return answerWith({{"rows", rows}, {"frames", framesOf(job)}});
}

Answer scene(Studio& studio, const Request& request) {
  const Json job = jobIn(studio, bodyOf(request));
  return answerWith({{"info", answerOfCommand(wordsFor("info", job))}});
}

Answer controls(Studio& studio, const Request& request) {
  steeringOf(studio);
  const Json body = bodyOf(request);
  std::string workflow = requiredText(body, "workflow");
  if (workflow.starts_with('-')) workflow.insert(0, "./");
  if (workflow.empty() || workflow.find('\0') != std::string::npos) throw Refused(400, "'workflow' names none");
  std::vector<std::string> words{"workflows", "controls", workflow};
  const std::vector<std::string> values = controlWords(body);
  words.insert(words.end(), values.begin(), values.end());
  return answerWith(answerOfCommand(withSession(std::move(words), studio.session)));
}

Answer guide(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  const Json job = jobIn(studio, body);
  renderWords(job, JobFrames::Current);
  const Json longest = body.value("longest", Json(DeskGuides::kLongestSide));
  if (!longest.is_number_integer()) throw Refused(400, "'longest' is no number of pixels");
  const int most = static_cast<int>(std::clamp<std::int64_t>(longest.get<std::int64_t>(), 1, DeskGuides::kLongestSide));
  return answerWith({{"picture", studio.steering->guides.live(job, most)}});
}

Answer cameras(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  const Json job = jobIn(studio, body);
  const Json names = body.value("names", Json());
  if (!names.is_array() || names.empty()) throw Refused(400, "'names' names no camera");
  std::vector<std::string> wanted;
  for (const Json& name : names) wanted.push_back(name.is_string() ? name.get<std::string>() : "");
  return answerWith({{"cameras", studio.steering->guides.cameras(job, wanted)}});
}

Answer render(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  std::vector<std::string> words = renderWords(jobIn(studio, body), framesIn(body));
  studio.watch.ownership().require();
  const std::vector<std::string>& always = studio.steering->always;
  words.insert(words.end(), always.begin(), always.end());
  words.emplace_back("--json");
  studio.steering->desk.render(withSession(std::move(words), studio.session));
  return answerWith(Json::object());
}

Answer breakOff(Studio& studio, const Request& request) {
  bodyOf(request);
  steeringOf(studio).desk.breakOff();
  return answerWith(Json::object());
}

// A job says all itself; settings leave cameras, frames and size as they are.
std::vector<std::string> wordsToLoad(const Json& body, Studio& studio, const std::string& file) {
  if (app::isJob(file)) return {"render", file};
  app::settingsDocument(file);
  Json job = jobIn(studio, body);
  for (const char* kept : {"set", "control"}) job.erase(kept);
  for (const char* kept : {"workflow", "camera", "exposure", "samples", "background", "light", "two-sided"}) {
    if (job.contains("options")) job["options"].erase(kept);
  }
  std::vector<std::string> words = wordsFor("render", job, JobFrames::All);
  words.push_back("--settings=" + file);
  return words;
}

Answer load(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  steeringOf(studio);
  const PassedFile passed(studio);
  std::vector<std::string> words;
  if (const auto like = textIn(body, "like")) {
    words = {"render", "--like=" + shownPicture(studio, *like).string()};
  } else if (const auto file = textIn(body, "file"); file && !file->empty()) {
    words = wordsToLoad(body, studio, fs::absolute(*file).lexically_normal().string());
  } else if (const auto content = body.find("content"); content != body.end()) {
    passed.write(*content);
    words = wordsToLoad(body, studio, passed.path());
  } else {
    throw Refused(400, "there is nothing to load: give 'like', 'file' or 'content'");
  }
  return answerWith({{"job", settledJob(studio, std::move(words))}});
}

// Over nothing but what was saved before: a slip of the keys must not cost another file.
fs::path fileToSave(const std::string& given) {
  fs::path file = fs::absolute(given).lexically_normal();
  if (given.empty() || file.extension() != ".json") throw Refused(422, "give a file whose name ends in .json");
  std::error_code error;
  if (!fs::exists(fs::symlink_status(file, error))) return file;
  try {
    app::settingsDocument(file);
  } catch (const Error&) {
    throw Refused(422, "'" + file.string() + "' is there and holds neither settings nor a job; give another name");
  }
  return file;
}

Answer save(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  const fs::path file = fileToSave(requiredText(body, "file"));
  std::vector<std::string> words = renderWords(jobIn(studio, body), JobFrames::All);
  const bool whole = textIn(body, "as").value_or("settings") == "job";
  words.insert(words.end(), {"--dry-run", (whole ? "--save-job=" : "--save-settings=") + file.string()});
  runCommand(withSession(std::move(words), studio.session));
  return answerWith({{"file", file.string()}});
}

Answer command(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  const std::vector<std::string> words = renderWords(jobIn(studio, body), framesIn(body));
  return answerWith({{"command", app::shellLine(withSession(words, studio.session))}});
}

constexpr std::array kRoutes{
    Route{Route::Method::Get, "/api/desk", desk},
    Route{Route::Method::Post, "/api/desk/panel", panel},
    Route{Route::Method::Post, "/api/desk/scene", scene},
    Route{Route::Method::Post, "/api/desk/controls", controls},
    Route{Route::Method::Post, "/api/desk/guide", guide},
    Route{Route::Method::Post, "/api/desk/cameras", cameras},
    Route{Route::Method::Post, "/api/desk/render", render},
    Route{Route::Method::Post, "/api/desk/break", breakOff},
    Route{Route::Method::Post, "/api/desk/load", load},
    Route{Route::Method::Post, "/api/desk/save", save},
    Route{Route::Method::Post, "/api/desk/command", command},
};

}  // namespace

std::span<const Route> steeringRoutes() {
  return kRoutes;
}

Json settledJob(Studio& studio, std::vector<std::string> words) {
  const PassedFile saved(studio);
  words.insert(words.end(), {"--dry-run", "--quiet", "--save-job=" + saved.path()});
  runCommand(withSession(std::move(words), studio.session));
  const Json job = saved.read();
  const std::string scene = requiredText(job, "scene");
  const Json plain = panelOf(studio, {"panel", scene});
  const Json rows = panelOf(studio, {"panel", scene, "--settings=" + saved.path()});
  Json settled = jobFrom(job, rows, plain);
  studio.steering->desk.know(settled);
  studio.steering->desk.keep(settled);
  return settled;
}

}  // namespace quillmere::studio
