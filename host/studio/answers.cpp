#include "answers.h"

#include <array>
#include <optional>

#include "process/child_run.h"
#include "record/picture_record.h"
#include "steering_answers.h"
#include "values/failure.h"
#include "view_state.h"
#include "workflow_answers.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kFolderPatience{10};

HeldFile shownPicture(Watch& watch, const std::string& id) {
  auto file = watch.shelf().shown(id);
  if (file) return std::move(*file);
  throw Refused(404, "there is no such picture here any more, or it lies where the page may not look");
}

// The path that the identifier stands for, whether it may be shown or not; "" for "".
std::string pathOf(Watch& watch, const std::string& id) {
  if (id.empty()) return {};
  const auto file = watch.shelf().find(id);
  if (file) return file->string();
  throw Refused(404, "there is no picture '" + id.substr(0, 16) + "'; load the page again");
}

Answer state(Studio& studio, const Request& /*request*/) {
  return answerWith(studio.watch.state());
}

Answer history(Studio& studio, const Request& request) {
  return answerWith(studio.watch.history().answer({.words = textIn(request, "words"),
                                                   .document = textIn(request, "document"),
                                                   .starred = textIn(request, "starred") == "true",
                                                   .from = countIn(request, "from", 0),
                                                   .count = countIn(request, "count", 200)}));
}

Answer picture(Studio& studio, const Request& request) {
  const HeldFile file = shownPicture(studio.watch, request.subject);
  WebPicture found = webPictureOf(file.content());
  return {.type = std::move(found.type), .content = std::move(found.content), .stamp = stampOf(file.content())};
}

Answer thumbnail(Studio& studio, const Request& request) {
  const HeldFile file = shownPicture(studio.watch, request.subject);
  const std::string stamp = stampOf(file.content());
  WebPicture found = studio.watch.thumbnails().of(file, request.subject, stamp);
  return {.type = std::move(found.type), .content = std::move(found.content), .stamp = stamp};
}

Answer record(Studio& studio, const Request& request) {
  const fs::path file = shownPicture(studio.watch, request.subject).place();
  return answerWith({{"path", file.string()}, {"record", app::recordOf(file)}});
}

Answer log(Studio& studio, const Request& request) {
  const auto frame = numberIn<std::int64_t>(request.subject);
  if (!frame) throw Refused(400, "'" + request.subject + "' is no frame");
  return answerWith({{"frame", *frame}, {"text", studio.watch.frames().log(*frame)}});
}

Answer passes(Studio& studio, const Request& request) {
  const auto frame = numberIn<std::int64_t>(request.subject);
  if (!frame) throw Refused(400, "'" + request.subject + "' is no frame");
  Json told = studio.watch.frames().madeWith(*frame);
  told["frame"] = *frame;
  return answerWith(told);
}

Answer setView(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  ViewChoice choice;
  if (const auto id = textIn(body, "selected")) choice.selected = pathOf(studio.watch, *id);
  if (const auto id = textIn(body, "locked_style")) choice.lockedStyle = pathOf(studio.watch, *id);
  choose(studio.watch.writeDirectory(), choice);
  return answerWith(studio.watch.view());
}

Answer setMark(Studio& studio, const Request& request) {
  const Json body = bodyOf(request);
  const std::string path = pathOf(studio.watch, requiredText(body, "picture"));
  if (path.empty()) throw Refused(400, "'picture' is empty");
  Mark mark = studio.watch.marks().of(path);
  if (const auto star = body.find("star"); star != body.end()) mark.star = *star == Json(true);
  if (const auto note = textIn(body, "note")) mark.note = *note;
  if (mark.note.size() > Marks::kLongestNote) throw Refused(413, "the note is too long");
  studio.watch.marks().set(path, mark);
  return answerWith({{"star", mark.star}, {"note", mark.note}});
}

Answer openFolder(Studio& studio, const Request& request) {
  const fs::path file = shownPicture(studio.watch, requiredText(bodyOf(request), "picture")).place();
  const app::ChildResult result = app::runChild({"xdg-open", file.parent_path().string()},
                                                {.patience = kFolderPatience, .kill = app::ChildLimits::Kill::Itself});
  if (result.end == app::ChildResult::End::Exited && result.status == 0) return answerWith(Json::object());
  throw Refused(501, "this machine's desktop could not open '" + file.parent_path().string() + "' (xdg-open)");
}

Answer renderExample(Studio& studio, const Request& request) {
  bodyOf(request);
  studio.example.start();
  return answerWith(Json::object());
}

constexpr std::array kRoutes{
    Route{Route::Method::Get, "/api/state", state},
    Route{Route::Method::Get, "/api/history", history},
    Route{Route::Method::Get, "/api/picture/", picture},
    Route{Route::Method::Get, "/api/thumbnail/", thumbnail},
    Route{Route::Method::Get, "/api/record/", record},
    Route{Route::Method::Get, "/api/log/", log},
    Route{Route::Method::Get, "/api/passes/", passes},
    Route{Route::Method::Post, "/api/view", setView},
    Route{Route::Method::Post, "/api/mark", setMark},
    Route{Route::Method::Post, "/api/open-folder", openFolder},
    Route{Route::Method::Post, "/api/example", renderExample},
};

}  // namespace

std::vector<std::span<const Route>> routes() {
  return {kRoutes, workflowRoutes(), steeringRoutes()};
}

Answer answerOf(const Route& route, Studio& studio, const Request& request) {
  try {
    return route.answer(studio, request);
  } catch (const Refused& refusal) {
    return refused(refusal.status(), refusal.what());
  } catch (const app::Failure& failure) {
    return refused(422, failure.what() + (failure.remedy().empty() ? "" : "; " + failure.remedy()));
  } catch (const Error& error) {
    return refused(422, error.what());
  }
}

}  // namespace quillmere::studio
