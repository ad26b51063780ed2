#include "history.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <set>

#include "base/error.h"
#include "base/file_reading.h"
#include "files/exchange_files.h"
#include "record/picture_record.h"
#include "search.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestEntry = std::uintmax_t{1} << 20U;  // bytes
constexpr int kDeepest = 4;
constexpr std::size_t kLongestFact = 600;  // bytes; more is in the record
constexpr std::size_t kMostRows = 500;

// What of a picture's record is shown beside it and searched.
constexpr std::array kFacts{"prompt", "effective_prompt", "workflow_path", "workflow_id",  "camera", "scene",
                            "seed",   "backend",          "server",        "width",        "height", "style",
                            "clip",   "guide_mode",       "controls",      "system_prompt"};

std::int64_t timeOf(const fs::path& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) != 0) return 0;
  return std::int64_t{facts.st_mtim.tv_sec} * 1'000'000'000 + facts.st_mtim.tv_nsec;
}

// An entry's text, or nothing for what is damaged or still being written.
std::optional<HistoryEntry> entryIn(const fs::path& file) {
  try {
    const Json json = parsedJson(readText(file, kLargestEntry), kDeepest);
    if (!json.is_object() || !json.value("output", Json()).is_string()) return {};
    HistoryEntry entry;
    entry.file = file;
    entry.document = file.parent_path().filename().string();
    entry.time = timeOf(file);
    entry.picture = json["output"].get<std::string>();
    if (const auto frame = json.find("frame"); frame != json.end() && frame->is_number_integer()) entry.frame = *frame;
    return entry;
  } catch (const Error&) {
    return {};
  }
}

std::string cut(std::string text) {
  if (text.size() <= kLongestFact) return text;
  std::size_t end = kLongestFact;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "…";
}

Json factsOf(const fs::path& picture) {
  Json facts = Json::object();
  try {
    const Json record = app::recordOf(picture);
    for (const char* key : kFacts) {
      const auto value = record.find(key);
      if (value == record.end()) continue;
      facts[key] = value->is_string() ? Json(cut(value->get<std::string>())) : *value;
    }
  } catch (const Error&) {
    return facts;
  }
  return facts;
}

std::string textOf(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string dayOf(const HistoryEntry& entry) {
  const std::time_t seconds = entry.time / 1'000'000'000;
  std::tm local{};
  char day[32] = {};
  if (::localtime_r(&seconds, &local) != nullptr) std::strftime(day, sizeof day, "%Y-%m-%d", &local);
  return day;
}

std::string wordsOf(const HistoryEntry& entry) {
  std::string words = entry.document + " f" + std::to_string(entry.frame) + " " + entry.picture.filename().string();
  static const Json kNone = Json::object();
  for (const auto& fact : (entry.facts ? *entry.facts : kNone).items()) {
    words += " " + textOf(fact.value());
  }
  return lowered(words + " " + dayOf(entry));
}

// What the picture's record tells under `key`.
std::string recorded(const HistoryEntry& entry, const char* key) {
  if (!entry.facts || !entry.facts->contains(key)) return {};
  return textOf((*entry.facts)[key]);
}

constexpr std::array kStatuses{"complete", "gone", "starred", "noted"};

// One of the words of its status may be meant; which one holds takes a look at the picture.
bool asksForStatus(const std::string& words) {
  const std::string asked = lowered(words);
  return std::any_of(kStatuses.begin(), kStatuses.end(),
                     [&](const char* status) { return asked.find(status) != std::string::npos; });
}

std::string statusOf(const HistoryEntry& entry, const Mark& mark) {
  const auto& [complete, gone, starred, noted] = kStatuses;
  return std::string(stampOf(entry.picture).empty() ? gone : complete) + " " + (mark.star ? starred : "") + " " +
         (mark.note.empty() ? "" : noted);
}

// As Search asks for it.
std::string factOf(const HistoryEntry& entry, const Mark& mark, const std::string& name) {
  if (name == "prompt") return recorded(entry, "prompt") + " " + recorded(entry, "effective_prompt");
  if (name == "workflow") return recorded(entry, "workflow_path") + " " + recorded(entry, "workflow_id");
  if (name == "scene") return recorded(entry, "scene") + " " + entry.document;
  if (name == "note") return mark.note;
  if (name == "frame") return std::to_string(entry.frame);
  if (name == "status") return statusOf(entry, mark);
  if (name == "date") return dayOf(entry);
  return recorded(entry, name.c_str());
}

}  // namespace

History::History(const fs::path& writeDirectory, PictureShelf& shelf, const Marks& marks)
    : root_(app::exchangeFolder(writeDirectory) / "history"), shelf_(shelf), marks_(marks) {}

bool History::refresh() {
  bool changed = false;
  std::set<fs::path> folders;
  std::error_code error;
  for (fs::directory_iterator place(root_, error), end; !error && place != end; place.increment(error)) {
    if (place->is_directory(error) && !place->is_symlink(error)) folders.insert(place->path());
  }
  const std::lock_guard lock(mutex_);
  for (const fs::path& folder : folders) refreshFolder(folder, changed);
  if (changed) order();
  return changed;
}

void History::lookAgain() {
  const std::lock_guard lock(mutex_);
  folderTimes_.clear();
}

void History::refreshFolder(const fs::path& folder, bool& changed) {
  const std::int64_t time = timeOf(folder);
  std::int64_t& known = folderTimes_[folder];
  if (known == time) return;
  std::set<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator place(folder, error), end; !error && place != end; place.increment(error)) {
    if (place->path().extension() == ".json" && place->is_regular_file(error)) files.insert(place->path());
  }
  std::erase_if(entries_, [&](const auto& one) {
    const bool gone = one.first.parent_path() == folder && !files.contains(one.first);
    changed = changed || gone;
    return gone;
  });
  for (const fs::path& file : files) {
    const auto former = entries_.find(file);
    if (former != entries_.end() && former->second.time == timeOf(file)) continue;
    auto entry = entryIn(file);
    if (!entry) continue;
    entry->words = wordsOf(*entry);
    entries_.insert_or_assign(file, std::move(*entry));
    changed = true;
  }
  known = time;
}

void History::order() {
  ordered_.clear();
  unread_ = 0;
  for (const auto& [file, entry] : entries_) {
    ordered_.push_back(&entry);
    if (!entry.facts) ++unread_;
  }
  std::sort(ordered_.begin(), ordered_.end(), [](const HistoryEntry* a, const HistoryEntry* b) {
    return a->time != b->time ? a->time > b->time : a->file < b->file;
  });
}

bool History::readRecords(std::size_t count) {
  std::vector<std::pair<fs::path, fs::path>> wanted;  // entries and their pictures
  {
    const std::lock_guard lock(mutex_);
    for (const HistoryEntry* entry : ordered_) {
      if (wanted.size() == count) break;
      if (entry->facts == nullptr) wanted.emplace_back(entry->file, entry->picture);
    }
  }
  for (const auto& [file, picture] : wanted) {
    auto facts = std::make_shared<const Json>(factsOf(picture));
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(file);
    if (found == entries_.end() || found->second.picture != picture || found->second.facts) continue;
    found->second.facts = std::move(facts);
    found->second.words = wordsOf(found->second);
    --unread_;
  }
  return !wanted.empty();
}

Json History::rowOf(const HistoryEntry& entry, const Mark& mark) const {
  Json row{{"picture", shelf_.cardOf(entry.picture)}, {"document", entry.document}, {"frame", entry.frame},
           {"time", entry.time / 1'000'000},          {"star", mark.star},          {"note", mark.note}};
  row["id"] = shelf_.idOf(entry.picture);
  row["name"] = entry.picture.filename().string();
  row["facts"] = entry.facts ? *entry.facts : Json::object();
  return row;
}

Json History::answer(const HistoryQuestion& question) const {
  const auto marks = marks_.all();
  const auto markOf = [&](const HistoryEntry& entry) {
    const auto found = marks.find(entry.picture.string());
    return found == marks.end() ? Mark{} : found->second;
  };
  const Search search(question.words);
  const bool asksStatus = asksForStatus(question.words);
  Json rows = Json::array();
  std::set<std::string> documents;
  std::size_t found = 0;
  const std::lock_guard lock(mutex_);
  for (const HistoryEntry* entry : ordered_) {
    documents.insert(entry->document);
    if (!question.document.empty() && entry->document != question.document) continue;
    const Mark mark = markOf(*entry);
    if (question.starred && !mark.star) continue;
    if (!search.accepts(entry->words + (mark.note.empty() ? "" : " " + lowered(mark.note)) +
                            (asksStatus ? " " + statusOf(*entry, mark) : ""),
                        [&](const std::string& name) { return lowered(factOf(*entry, mark, name)); })) {
      continue;
    }
    const std::size_t at = found++;
    if (at >= question.from && rows.size() < std::min(question.count, kMostRows)) rows.push_back(rowOf(*entry, mark));
  }
  return {
      {"total", ordered_.size()}, {"found", found}, {"unread", unread_}, {"documents", documents}, {"entries", rows}};
}

}  // namespace quillmere::studio
