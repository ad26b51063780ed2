#pragma once

#include <set>
#include <string>
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

// `text` from a file, fit for a terminal: control characters become spaces, and a long one is cut.
std::string printable(std::string text);

}  // namespace quillmere::scene
