#pragma once

#include <random>
#include <string>
#include <vector>

namespace quillmere {

// Small texts strung together from a pattern's own pieces; the same texts on every machine for a given seed.
struct RandomTexts {
  RandomTexts(std::vector<std::string> from, unsigned seed) : pieces(std::move(from)), random(seed) {}
  std::string next(unsigned longest) {
    std::string text;
    for (auto left = random() % (longest + 1); left > 0; --left) text += pieces[random() % pieces.size()];
    return text;
  }
  std::vector<std::string> pieces;
  std::mt19937 random;
};

inline std::string repeated(const std::string& piece, std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) text += piece;
  return text;
}

}  // namespace quillmere
