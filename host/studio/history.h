#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/json.h"
#include "marks.h"
#include "picture_shelf.h"

namespace quillmere::studio {

// A picture that a render of this write directory has put into its history.
struct HistoryEntry {
  std::filesystem::path file;     // the entry's own
  std::string document;           // whose history it stands in
  std::filesystem::path picture;  // may be gone
  std::int64_t frame = 0;
  std::int64_t time = 0;              // of the entry, nanoseconds since 1970
  std::shared_ptr<const Json> facts;  // what the picture's record tells that is searched; null until it was read
  std::string words;                  // all that is searched, in lower case
};

// What is asked of the history; empty members ask nothing.
struct HistoryQuestion {
  std::string words;     // as Search takes them
  std::string document;  // exactly
  bool starred = false;
  std::size_t from = 0, count = 200;
};

// The histories of all documents in a write directory, newest first. Read again only where something changed. Any
// thread.
class History {
 public:
  History(const std::filesystem::path& writeDirectory, PictureShelf& shelf, const Marks& marks);

  // Looks for entries that are new, changed or gone. True when there are any. A folder is read when its own time tells
  // that files have come or gone, or after lookAgain(): an entry that is written again in place leaves that as it was.
  bool refresh();
  void lookAgain();
  // Reads the records of at most `count` pictures of which that was not done yet, the newest first. False when all are.
  bool readRecords(std::size_t count);

  // {"total", "found", "unread" (entries whose record was not read yet), "documents": [...], "entries": [...]}
  Json answer(const HistoryQuestion& question) const;

 private:
  void refreshFolder(const std::filesystem::path& folder, bool& changed);
  void order();
  Json rowOf(const HistoryEntry& entry, const Mark& mark) const;

  std::filesystem::path root_;
  PictureShelf& shelf_;
  const Marks& marks_;
  mutable std::mutex mutex_;  // guards all below
  std::map<std::filesystem::path, std::int64_t> folderTimes_;
  std::map<std::filesystem::path, HistoryEntry> entries_;  // by their own files
  std::vector<const HistoryEntry*> ordered_;
  std::size_t unread_ = 0;
};

}  // namespace quillmere::studio
