#include "output_pattern.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "failure.h"

namespace quillmere::app {
namespace {

struct Ending {
  const char* text;
  FileFormat format;
};
// The longer ending of two that fit comes first.
constexpr std::array kEndings{Ending{".16.png", FileFormat::Png16}, Ending{".png", FileFormat::Png8},
                              Ending{".exr", FileFormat::Exr}};

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

std::string padded(std::int32_t frame, std::size_t digits) {
  std::string number = std::to_string(frame);
  const bool negative = number.front() == '-';
  if (negative) number.erase(0, 1);
  if (number.size() < digits) number.insert(0, digits - number.size(), '0');
  return (negative ? "-" : "") + number;
}

}  // namespace

OutputPattern OutputPattern::parse(const std::string& text) {
  const std::filesystem::path path(text);
  const std::string name = path.filename().string();
  for (const Ending& ending : kEndings) {
    const std::string_view end = ending.text;
    if (name.size() <= end.size() || lowered(name.substr(name.size() - end.size())) != end) continue;
    OutputPattern pattern;
    pattern.folder_ = path.parent_path();
    pattern.name_ = name.substr(0, name.size() - end.size());
    pattern.ending_ = name.substr(name.size() - end.size());
    pattern.format_ = ending.format;
    return pattern;
  }
  throw Failure(ExitStatus::Usage, "--output '" + text + "'", "its end names no format",
                "end it in .png (8 bits), .16.png (16 bits) or .exr (floats), for example shots/harbour_####.png");
}

OutputPattern OutputPattern::numberingFrames() const {
  OutputPattern numbering = *this;
  if (!numbersFrames()) numbering.name_ += "_####";
  return numbering;
}

std::filesystem::path OutputPattern::fileFor(std::int32_t frame) const {
  std::string name;
  for (std::size_t at = 0; at < name_.size();) {
    const std::size_t end = std::min(name_.find_first_not_of('#', at), name_.size());
    if (end > at) {
      name += padded(frame, end - at);
      at = end;
    } else {
      name += name_[at++];
    }
  }
  return folder_ / (name + ending_);
}

}  // namespace quillmere::app
