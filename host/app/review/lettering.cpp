#include "lettering.h"

#include <algorithm>
#include <string>

#include "base/utf8.h"

namespace quillmere::app {
namespace {

constexpr int kColumns = 5, kRows = 7, kAdvance = kColumns + 1;

struct Letter {
  char32_t character;
  std::string_view dots;  // rows from the top
};

constexpr Letter kMissing{0, "##### #...# #...# #...# #...# #...# #####"};
constexpr Letter kLetters[] = {
    {' ', "..... ..... ..... ..... ..... ..... ....."}, {'-', "..... ..... ..... ##### ..... ..... ....."},
    {'.', "..... ..... ..... ..... ..... .##.. .##.."}, {',', "..... ..... ..... ..... .##.. ..#.. .#..."},
    {':', "..... .##.. .##.. ..... .##.. .##.. ....."}, {'_', "..... ..... ..... ..... ..... ..... #####"},
    {'/', "....# ....# ...#. ..#.. .#... #.... #...."}, {'#', ".#.#. .#.#. ##### .#.#. ##### .#.#. .#.#."},
    {'(', "...#. ..#.. .#... .#... .#... ..#.. ...#."}, {')', ".#... ..#.. ...#. ...#. ...#. ..#.. .#..."},
    {'0', ".###. #...# #..## #.#.# ##..# #...# .###."}, {'1', "..#.. .##.. ..#.. ..#.. ..#.. ..#.. .###."},
    {'2', ".###. #...# ....# ..##. .#... #.... #####"}, {'3', "##### ...#. ..#.. ...#. ....# #...# .###."},
    {'4', "...#. ..##. .#.#. #..#. ##### ...#. ...#."}, {'5', "##### #.... ####. ....# ....# #...# .###."},
    {'6', "..##. .#... #.... ####. #...# #...# .###."}, {'7', "##### ....# ...#. ..#.. .#... .#... .#..."},
    {'8', ".###. #...# #...# .###. #...# #...# .###."}, {'9', ".###. #...# #...# .#### ....# ...#. .##.."},
    {'A', ".###. #...# #...# ##### #...# #...# #...#"}, {'B', "####. #...# #...# ####. #...# #...# ####."},
    {'C', ".###. #...# #.... #.... #.... #...# .###."}, {'D', "####. #...# #...# #...# #...# #...# ####."},
    {'E', "##### #.... #.... ####. #.... #.... #####"}, {'F', "##### #.... #.... ####. #.... #.... #...."},
    {'G', ".###. #...# #.... #.### #...# #...# .####"}, {'H', "#...# #...# #...# ##### #...# #...# #...#"},
    {'I', ".###. ..#.. ..#.. ..#.. ..#.. ..#.. .###."}, {'J', "..### ...#. ...#. ...#. ...#. #..#. .##.."},
    {'K', "#...# #..#. #.#.. ##... #.#.. #..#. #...#"}, {'L', "#.... #.... #.... #.... #.... #.... #####"},
    {'M', "#...# ##.## #.#.# #.#.# #...# #...# #...#"}, {'N', "#...# ##..# #.#.# #..## #...# #...# #...#"},
    {'O', ".###. #...# #...# #...# #...# #...# .###."}, {'P', "####. #...# #...# ####. #.... #.... #...."},
    {'Q', ".###. #...# #...# #...# #.#.# #..#. .##.#"}, {'R', "####. #...# #...# ####. #.#.. #..#. #...#"},
    {'S', ".###. #...# #.... .###. ....# #...# .###."}, {'T', "##### ..#.. ..#.. ..#.. ..#.. ..#.. ..#.."},
    {'U', "#...# #...# #...# #...# #...# #...# .###."}, {'V', "#...# #...# #...# #...# .#.#. .#.#. ..#.."},
    {'W', "#...# #...# #...# #.#.# #.#.# ##.## #...#"}, {'X', "#...# #...# .#.#. ..#.. .#.#. #...# #...#"},
    {'Y', "#...# #...# .#.#. ..#.. ..#.. ..#.. ..#.."}, {'Z', "##### ....# ...#. ..#.. .#... #.... #####"},
};

const Letter& letterOf(char32_t character) {
  if (character >= U'a' && character <= U'z') character -= U'a' - U'A';
  const auto* found = std::find_if(std::begin(kLetters), std::end(kLetters),
                                   [&](const Letter& letter) { return letter.character == character; });
  return found == std::end(kLetters) ? kMissing : *found;
}

void fillDot(image::Image& picture, int left, int top, int scale, Ink ink) {
  for (int y = std::max(top, 0); y < std::min(top + scale, picture.height()); ++y) {
    for (int x = std::max(left, 0); x < std::min(left + scale, picture.width()); ++x) {
      std::copy(ink.begin(), ink.end(), picture.pixel<std::uint8_t>(x, y));
    }
  }
}

}  // namespace

int letterHeight(int scale) {
  return kRows * scale;
}

int textWidth(std::string_view text, int scale) {
  const auto letters = static_cast<int>(std::min<std::size_t>(decodeUtf8(text).size(), 10000));
  return std::max(letters * kAdvance - 1, 0) * scale;
}

void writeText(image::Image& picture, int x, int y, std::string_view text, int scale, Ink ink) {
  for (const char32_t character : decodeUtf8(text)) {
    if (x >= picture.width()) return;
    const Letter& letter = letterOf(character);
    for (int row = 0; row < kRows; ++row) {
      for (int column = 0; column < kColumns; ++column) {
        const char dot = letter.dots[static_cast<std::size_t>(row) * kAdvance + static_cast<std::size_t>(column)];
        if (dot == '#') fillDot(picture, x + column * scale, y + row * scale, scale, ink);
      }
    }
    x += kAdvance * scale;
  }
}

}  // namespace quillmere::app
