#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

namespace quillmere::studio {

struct Mark {
  bool star = false;
  std::string note;

  bool empty() const { return !star && note.empty(); }
};

// Stars and notes of pictures, by their paths, in one file that nothing else reads. Any thread of one process.
class Marks {
 public:
  static constexpr std::size_t kLongestNote = 4000;  // bytes

  // A file that is missing or damaged holds none; a damaged one is kept beside it under the ending ".damaged".
  explicit Marks(std::filesystem::path file);

  Mark of(const std::string& picture) const;
  std::map<std::string, Mark> all() const;
  // Written at once. Throws Error, with everything as it was.
  void set(const std::string& picture, const Mark& mark);

 private:
  std::filesystem::path file_;
  mutable std::mutex mutex_;
  std::map<std::string, Mark> marks_;
};

}  // namespace quillmere::studio
