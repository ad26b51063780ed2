#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere::scene {

// What a loader could not honour, one sentence each, in the order of the first mention and each sentence once.
// A file can be made to cause any number of them, so that only the first hundred are kept and the rest is counted.
class Warnings {
 public:
  void add(const std::string& sentence);
  std::vector<std::string> sentences() const;

 private:
  std::vector<std::string> kept_;
  std::set<std::string> seen_;
  std::size_t more_ = 0;
};

// The start of a text from a file, 400 bytes at most and "..." for the rest, fit for a terminal (as `printable` is).
std::string excerpt(std::string_view text);

}  // namespace quillmere::scene
