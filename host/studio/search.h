#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace quillmere::studio {

// A question as a person writes it: words that must all be somewhere, in any order, and words such as camera:pier or
// workflow:"ink wash" for what must be in one fact. Case doesn't count.
class Search {
 public:
  explicit Search(const std::string& text);

  // `words` is all that is searched, in lower case; `fact` gives one fact by its name, likewise.
  bool accepts(const std::string& words, const std::function<std::string(const std::string&)>& fact) const;

 private:
  std::vector<std::string> words_;
  std::vector<std::pair<std::string, std::string>> facts_;
};

// ASCII letters in lower case; others stay.
std::string lowered(std::string text);

}  // namespace quillmere::studio
