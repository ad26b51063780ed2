#include "answers.h"

#include <array>
#include <charconv>
#include <optional>

#include "base/error.h"
#include "base/json.h"
#include "process/child_run.h"
#include "record/picture_record.h"
#include "values/failure.h"
#include "view_state.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr int kDeepest = 6;
constexpr std::chrono::seconds kFolderPatience{10};

// What is refused with a status of its own.
class Refused : public Error {
 public:
  Refused(int status, const std::string& text) : Error(text), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

Answer json(const Json& value) {
  return {.content = lineOf(value), .stamp = {}};
}

template <class Number>
std::optional<Number> numberIn(const std::string& text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

std::size_t countIn(const Request& request, const char* key, std::size_t otherwise) {
  const auto found = request.values.find(key);
  if (found == request.values.end()) return otherwise;
  const auto number = numberIn<std::size_t>(found->second);
  if (!number) throw Refused(400, std::string(key) + " '" + found->second + "' is no number");
  return *number;
}

std::string textIn(const Request& request, const char* key) {
  const auto found = request.values.find(key);
  return found == request.values.end() ? "" : found->second;
}

// The picture's file, where links have been followed.
fs::path shownPicture(Watch& watch, const std::string& id) {
  const auto file = watch.shelf().shown(id);
  if (file) return *file;
  throw Refused(404, "there is no such picture here any more, or it lies where the page may not look");
}

// The path that the identifier stands for, whether it may be shown or not; "" for "".
std::string pathOf(Watch& watch, const std::string& id) {
  if (id.empty()) return {};
  const auto file = watch.shelf().find(id);
  if (file) return file->string();
  throw Refused(404, "there is no picture '" + id.substr(0, 16) + "'; load the page again");
}

Json bodyOf(const Request& request) {
  try {
    Json body = parsedJson(request.body, kDeepest);
    if (body.is_object()) return body;
  } catch (const Error&) {
    throw Refused(400, "the request's body is no JSON");
  }
  throw Refused(400, "the request's body is no JSON object");
}

std::optional<std::string> textIn(const Json& body, const char* key) {
  const auto value = body.find(key);
  if (value == body.end()) return {};
  if (!value->is_string()) throw Refused(400, std::string("'") + key + "' is no text");
  return value->get<std::string>();
}

std::string requiredText(const Json& body, const char* key) {
  const auto text = textIn(body, key);
  if (!text) throw Refused(400, std::string("'") + key + "' is missing");
  return *text;
}

Answer state(Watch& watch, const Request& /*request*/) {
  return json(watch.state());
}

Answer history(Watch& watch, const Request& request) {
  return json(watch.history().answer({.words = textIn(request, "words"),
                                      .document = textIn(request, "document"),
                                      .starred = textIn(request, "starred") == "true",
                                      .from = countIn(request, "from", 0),
                                      .count = countIn(request, "count", 200)}));
}

Answer picture(Watch& watch, const Request& request) {
  const fs::path file = shownPicture(watch, request.subject);
  WebPicture found = webPictureOf(file);
  return {.type = std::move(found.type), .content = std::move(found.content), .stamp = stampOf(file)};
}

Answer thumbnail(Watch& watch, const Request& request) {
  const fs::path file = shownPicture(watch, request.subject);
  const std::string stamp = stampOf(file);
  WebPicture found = watch.thumbnails().of(file, request.subject, stamp);
  return {.type = std::move(found.type), .content = std::move(found.content), .stamp = stamp};
}

Answer record(Watch& watch, const Request& request) {
  const fs::path file = shownPicture(watch, request.subject);
  return json({{"path", file.string()}, {"record", app::recordOf(file)}});
}

Answer log(Watch& watch, const Request& request) {
  const auto frame = numberIn<std::int64_t>(request.subject);
  if (!frame) throw Refused(400, "'" + request.subject + "' is no frame");
  return json({{"frame", *frame}, {"text", watch.frames().log(*frame)}});
}

Answer setView(Watch& watch, const Request& request) {
  const Json body = bodyOf(request);
  ViewChoice choice;
  if (const auto id = textIn(body, "selected")) choice.selected = pathOf(watch, *id);
  if (const auto id = textIn(body, "locked_style")) choice.lockedStyle = pathOf(watch, *id);
  choose(watch.writeDirectory(), choice);
  return json(watch.view());
}

Answer setMark(Watch& watch, const Request& request) {
  const Json body = bodyOf(request);
  const std::string path = pathOf(watch, requiredText(body, "picture"));
  if (path.empty()) throw Refused(400, "'picture' is empty");
  Mark mark = watch.marks().of(path);
  if (const auto star = body.find("star"); star != body.end()) mark.star = *star == Json(true);
  if (const auto note = textIn(body, "note")) mark.note = *note;
  if (mark.note.size() > Marks::kLongestNote) throw Refused(413, "the note is too long");
  watch.marks().set(path, mark);
  return json({{"star", mark.star}, {"note", mark.note}});
}

Answer openFolder(Watch& watch, const Request& request) {
  const fs::path file = shownPicture(watch, requiredText(bodyOf(request), "picture"));
  const app::ChildResult result = app::runChild({"xdg-open", file.parent_path().string()}, kFolderPatience);
  if (result.end == app::ChildResult::End::Exited && result.status == 0) return json(Json::object());
  throw Refused(501, "this machine's desktop could not open '" + file.parent_path().string() + "' (xdg-open)");
}

constexpr std::array kRoutes{
    Route{Route::Method::Get, "/api/state", state},
    Route{Route::Method::Get, "/api/history", history},
    Route{Route::Method::Get, "/api/picture/", picture},
    Route{Route::Method::Get, "/api/thumbnail/", thumbnail},
    Route{Route::Method::Get, "/api/record/", record},
    Route{Route::Method::Get, "/api/log/", log},
    Route{Route::Method::Post, "/api/view", setView},
    Route{Route::Method::Post, "/api/mark", setMark},
    Route{Route::Method::Post, "/api/open-folder", openFolder},
};

}  // namespace

std::span<const Route> routes() {
  return kRoutes;
}

Answer refused(int status, const std::string& text) {
  return {.status = status, .content = lineOf({{"error", text}}), .stamp = {}};
}

Answer answerOf(const Route& route, Watch& watch, const Request& request) {
  try {
    return route.answer(watch, request);
  } catch (const Refused& refusal) {
    return refused(refusal.status(), refusal.what());
  } catch (const app::Failure& failure) {
    return refused(422, failure.what() + (failure.remedy().empty() ? "" : "; " + failure.remedy()));
  } catch (const Error& error) {
    return refused(422, error.what());
  }
}

}  // namespace quillmere::studio
