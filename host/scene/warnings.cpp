#include "scene/warnings.h"

#include "base/utf8.h"

namespace quillmere::scene {
namespace {

constexpr std::size_t kMostSentences = 100;
constexpr std::size_t kLongestText = 400;

}  // namespace

void Warnings::add(const std::string& sentence) {
  const std::string text = excerpt(sentence);
  if (seen_.count(text) != 0) return;
  if (kept_.size() == kMostSentences) {
    ++more_;
    return;
  }
  seen_.insert(text);
  kept_.push_back(text);
}

std::vector<std::string> Warnings::sentences() const {
  std::vector<std::string> all = kept_;
  if (more_ > 0) all.push_back("and " + std::to_string(more_) + " more of the kind");
  return all;
}

std::string excerpt(std::string_view text) {
  if (text.size() <= kLongestText) return printable(text);
  std::size_t end = kLongestText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;  // not inside a UTF-8 character
  return printable(text.substr(0, end)) + "...";
}

}  // namespace quillmere::scene
