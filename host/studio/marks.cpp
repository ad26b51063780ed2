#include "marks.h"

#include "base/atomic_file.h"
#include "base/error.h"
#include "base/file_reading.h"
#include "base/json.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargest = std::uintmax_t{64} << 20U;  // bytes
constexpr int kDeepest = 6;

// {"version": 1, "pictures": {PATH: {"star": true, "note": ""}}}
std::map<std::string, Mark> marksIn(const Json& json) {
  std::map<std::string, Mark> marks;
  if (!json.is_object() || json.value("version", Json()) != Json(1)) throw Error("it has another form");
  const auto pictures = json.find("pictures");
  if (pictures == json.end() || !pictures->is_object()) throw Error("it has no pictures");
  for (const auto& [path, told] : pictures->items()) {
    if (!told.is_object()) throw Error("it has another form");
    Mark mark;
    mark.star = told.value("star", Json()) == Json(true);
    if (const auto note = told.find("note"); note != told.end() && note->is_string()) mark.note = *note;
    marks.emplace(path, mark);
  }
  return marks;
}

std::string textOf(const std::map<std::string, Mark>& marks) {
  Json pictures = Json::object();
  for (const auto& [path, mark] : marks) pictures[path] = {{"star", mark.star}, {"note", mark.note}};
  const Json whole{{"version", 1}, {"pictures", pictures}};
  return whole.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

Marks::Marks(fs::path file) : file_(std::move(file)) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(file_, error))) return;
  try {
    marks_ = marksIn(parsedJson(readText(file_, kLargest), kDeepest));
  } catch (const Error&) {
    fs::rename(file_, file_.string() + ".damaged", error);
  }
}

Mark Marks::of(const std::string& picture) const {
  const std::lock_guard lock(mutex_);
  const auto found = marks_.find(picture);
  return found == marks_.end() ? Mark{} : found->second;
}

std::map<std::string, Mark> Marks::all() const {
  const std::lock_guard lock(mutex_);
  return marks_;
}

void Marks::set(const std::string& picture, const Mark& mark) {
  const std::lock_guard lock(mutex_);
  auto changed = marks_;
  if (mark.empty()) {
    changed.erase(picture);
  } else {
    changed[picture] = mark;
  }
  std::error_code error;  // told by the file that can't be written
  fs::create_directories(file_.parent_path(), error);
  writeFile(file_, textOf(changed));
  marks_ = std::move(changed);
}

}  // namespace quillmere::studio
