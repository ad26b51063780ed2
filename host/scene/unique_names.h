#pragma once

#include <map>
#include <set>
#include <string>

namespace quillmere::scene {

// Makes each name one of its own: ".1", ".2" … are appended.
class UniqueNames {
 public:
  std::string make(const std::string& wanted) {
    std::string name = wanted;
    // Goes on where it ended: a file may want the same name for all of its items.
    for (int& last = lastNumbers_[wanted]; !taken_.insert(name).second;) name = wanted + "." + std::to_string(++last);
    return name;
  }

 private:
  std::set<std::string> taken_;
  std::map<std::string, int> lastNumbers_;
};

}  // namespace quillmere::scene
