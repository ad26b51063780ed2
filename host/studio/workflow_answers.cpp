#include "workflow_answers.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <semaphore>

#include "base/atomic_file.h"
#include "own_command.h"
#include "studio.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kTurnPatience{120};   // for others to end
constexpr std::chrono::seconds kCheckPatience{130};  // longer than the helper's own
constexpr std::size_t kLongestName = 200;            // bytes, of a file that is sent

std::counting_semaphore<2> turns{2};

// While this lives, one of the commands that ask servers or change the list may run.
class Turn {
 public:
  Turn() {
    if (!turns.try_acquire_for(kTurnPatience)) throw Refused(503, "too many checks are waiting; try again");
  }
  ~Turn() { turns.release(); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
};

// Quick, so it waits for no check.
Json listOf(const Studio& studio) {
  return answerOfCommand(withSession({"workflows", "list"}, studio.session));
}

Answer answerWithList(Json list) {
  return answerWith({{"workflows", std::move(list)}});
}

// The file of a workflow that is listed: who asks names no path.
std::string pathOfListed(const Studio& studio, const std::string& id) {
  for (const Json& workflow : listOf(studio)) {
    if (workflow.at("id") == id) return workflow.at("path");
  }
  throw Refused(404, "the list has no workflow '" + id + "' any more");
}

Answer look(const Studio& studio, const Request& request, const char* how) {
  const std::string path = pathOfListed(studio, textIn(request, "id"));
  const Turn turn;
  return answerWith(answerOfCommand(withSession({"workflows", how, "--", path}, studio.session), kCheckPatience));
}

// `options` stand before the texts that name things, behind which nothing is an option.
Answer change(const Studio& studio, std::vector<std::string> options, std::vector<std::string> names) {
  options.insert(options.begin(), "workflows");
  options.emplace_back("--");
  options.insert(options.end(), std::make_move_iterator(names.begin()), std::make_move_iterator(names.end()));
  const Turn turn;
  return answerWithList(answerOfCommand(withPlugin(std::move(options), studio.session), kCheckPatience));
}

// A file as a browser has sent it, under its name in a folder of its own, gone with this.
class SentFile {
 public:
  SentFile(const fs::path& studioFolder, const std::string& name, const std::string& content)
      : SentFile(freshFolder(studioFolder), ownName(name)) {
    std::error_code error;  // told by the file that can't be written
    fs::create_directories(folder_, error);
    writeFile(path_, content);
  }
  ~SentFile() {
    std::error_code error;
    fs::remove_all(folder_, error);
  }
  SentFile(const SentFile&) = delete;
  SentFile& operator=(const SentFile&) = delete;

  std::string path() const { return path_.string(); }

 private:
  SentFile(fs::path folder, const std::string& name) : folder_(std::move(folder)), path_(folder_ / name) {}

  static fs::path freshFolder(const fs::path& studioFolder) {
    static std::atomic<unsigned> count = 0;
    return studioFolder / ("sent-" + std::to_string(::getpid()) + "-" + std::to_string(++count));
  }
  // Without what would lead elsewhere.
  static std::string ownName(const std::string& name) {
    std::string last = name.substr(name.find_last_of("/\\") + 1);
    const bool plain = std::none_of(last.begin(), last.end(), [](unsigned char letter) { return letter < 0x20U; });
    if (last.empty() || last.front() == '.' || !plain || last.size() > kLongestName) {
      throw Refused(400, "the file's name can't be kept; rename the file");
    }
    return last;
  }

  fs::path folder_, path_;
};

// "~/" is where the program's user is at home.
std::string fullPath(const std::string& path) {
  const char* home = std::getenv("HOME");
  if (path.starts_with("~/") && home != nullptr) return home + path.substr(1);
  if (fs::path(path).is_absolute()) return path;
  throw Refused(400, "'" + path + "' is no full path; begin it with / or ~/");
}

Answer list(Studio& studio, const Request& /*request*/) {
  return answerWithList(listOf(studio));
}

Answer check(Studio& studio, const Request& request) {
  return look(studio, request, "check");
}

Answer controls(Studio& studio, const Request& request) {
  return look(studio, request, "controls");
}

Answer add(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  std::vector<std::string> options{"add"};
  if (const auto menu = textIn(body, "name"); menu && !menu->empty()) options.push_back("--name=" + *menu);
  if (const auto path = textIn(body, "path")) return change(studio, std::move(options), {fullPath(*path)});
  const std::string name = requiredText(body, "file");
  const SentFile file(studio.watch.studioFolder(), name, requiredText(body, "content"));
  return change(studio, std::move(options), {file.path()});
}

Answer rename(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  return change(studio, {"rename"}, {requiredText(body, "id"), requiredText(body, "name")});
}

Answer move(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  return change(studio, {"move"}, {requiredText(body, "id"), requiredText(body, "place")});
}

Answer remove(Studio& studio, const Request& request) {
  return change(studio, {"remove"}, {requiredText(bodyOf(request), "id")});
}

Answer doctor(Studio& studio, const Request& /*request*/) {
  const Turn turn;
  return answerWith({{"findings", answerOfCommand(withSession({"doctor"}, studio.session), kCheckPatience)}});
}

constexpr std::array kRoutes{
    Route{Route::Method::Get, "/api/workflows", list},
    Route{Route::Method::Get, "/api/workflow-check", check},
    Route{Route::Method::Get, "/api/workflow-controls", controls},
    Route{Route::Method::Post, "/api/workflow-add", add},
    Route{Route::Method::Post, "/api/workflow-rename", rename},
    Route{Route::Method::Post, "/api/workflow-move", move},
    Route{Route::Method::Post, "/api/workflow-remove", remove},
    Route{Route::Method::Get, "/api/doctor", doctor},
};

}  // namespace

std::span<const Route> workflowRoutes() {
  return kRoutes;
}

}  // namespace quillmere::studio
