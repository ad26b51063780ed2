#pragma once

#include <random>
#include <string>
#include <vector>

namespace quillmere {

// Small texts strung together from a pattern's own pieces; the same texts on every machine for a given seed.
class RandomTexts {
 public:
  RandomTexts(std::vector<std::string> pieces, unsigned seed) : pieces_(std::move(pieces)), random_(seed) {}

  std::string next(unsigned longest) {
    std::string text;
    for (unsigned left = pick(longest + 1); left > 0; --left) text += pieces_[pick(unsigned(pieces_.size()))];
    return text;
  }

 private:
  unsigned pick(unsigned below) { return unsigned(random_() % below); }

  std::vector<std::string> pieces_;
  std::mt19937 random_;
};

}  // namespace quillmere
