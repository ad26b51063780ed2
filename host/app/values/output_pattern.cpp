#include "output_pattern.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <string_view>
#include <utility>

#include "failure.h"

namespace quillmere::app {
namespace {

struct FormatEnding {
  const char* text;
  FileFormat format;
};
// The longer ending of two that fit comes first.
constexpr std::array kEndings{FormatEnding{".16.png", FileFormat::Png16}, FormatEnding{".png", FileFormat::Png8},
                              FormatEnding{".exr", FileFormat::Exr}};

constexpr std::size_t kUsualDigits = 4, kMostDigits = 20;
constexpr std::size_t kLongestName = 100;  // bytes of a camera's name in a file's

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

bool isDigit(char letter) {
  return letter >= '0' && letter <= '9';
}
bool isLetter(char letter) {
  return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

std::string padded(std::int32_t frame, std::size_t digits) {
  std::string number = std::to_string(frame);
  const bool negative = number.front() == '-';
  if (negative) number.erase(0, 1);
  if (number.size() < digits) number.insert(0, digits - number.size(), '0');
  return (negative ? "-" : "") + number;
}

[[noreturn]] void refuse(const std::string& text, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Usage, "--output '" + text + "'", why, remedy);
}

[[noreturn]] void refusePlaceholder(const std::string& text, std::string_view found) {
  refuse(text, "'" + std::string(found) + "' stands for nothing",
         "write ####, %04d, $F4 or {frame} for the frame's number, {camera} for the camera's name, %% for a %");
}

// A placeholder at the front of a text: how long it is, and the digits of a frame's number; 0 characters: none.
struct Placeholder {
  std::size_t length = 0, digits = 0;
  bool camera = false;
};

// The number of digits at `at`; past them.
std::size_t takeDigits(std::string_view rest, std::size_t& at) {
  std::size_t digits = 0;
  for (; at < rest.size() && isDigit(rest[at]); ++at) {
    digits = std::min(digits * 10 + static_cast<std::size_t>(rest[at] - '0'), kMostDigits);
  }
  return digits;
}

Placeholder marksAt(std::string_view rest, bool inFolder) {
  const std::size_t marks = std::min(rest.find_first_not_of('#'), rest.size());
  return {inFolder && marks == 1 ? 0 : marks, std::min(marks, kMostDigits), false};
}

Placeholder percentAt(std::string_view rest, const std::string& text) {
  std::size_t at = 1;
  const std::size_t digits = takeDigits(rest, at);
  if (at == rest.size() || !isLetter(rest[at])) return {};
  if (rest[at] != 'd' || (at > 1 && rest[1] != '0')) refusePlaceholder(text, rest.substr(0, at + 1));
  return {at + 1, std::max<std::size_t>(digits, 1), false};
}

Placeholder dollarAt(std::string_view rest, const std::string& text) {
  if (rest.size() < 2 || !(isLetter(rest[1]) || rest[1] == '{')) return {};
  std::size_t at = 2;
  const std::size_t digits = takeDigits(rest, at);
  const bool ended = at == rest.size() || !isLetter(rest[at]);
  if (rest[1] != 'F' || !ended) refusePlaceholder(text, rest.substr(0, at));
  return {at, std::max<std::size_t>(digits, 1), false};
}

Placeholder braceAt(std::string_view rest, const std::string& text) {
  const std::size_t end = rest.find('}');
  if (end == std::string_view::npos) return {};
  const std::string_view found = rest.substr(0, end + 1);
  if (found == "{frame}") return {found.size(), kUsualDigits, false};
  if (found == "{camera}") return {found.size(), 0, true};
  refusePlaceholder(text, found);
}

Placeholder placeholderAt(std::string_view rest, bool inFolder, const std::string& text) {
  switch (rest.front()) {
    case '#':
      return marksAt(rest, inFolder);
    case '%':
      return percentAt(rest, text);
    case '$':
      return dollarAt(rest, text);
    case '{':
      return braceAt(rest, text);
    default:
      return {};
  }
}

// Text in which a '%' is written as one.
std::string withoutPlaceholders(const std::string& text) {
  std::string escaped;
  for (const char letter : text) escaped += letter == '%' ? "%%" : std::string(1, letter);
  return escaped;
}

// A camera's name as part of a file's.
std::string asFileName(const std::string& camera) {
  std::string name;
  for (const char letter : camera) {
    const bool awkward = static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F ||
                         std::string_view("/\\:*?\"<>|").find(letter) != std::string_view::npos;
    name += awkward ? '_' : letter;
  }
  std::size_t end = std::min(name.size(), kLongestName);
  while (end < name.size() && end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U) --end;
  name.resize(end);  // not inside a UTF-8 character
  if (name.empty() || name.front() == '.') name.insert(0, "_");
  return name;
}

}  // namespace

OutputPattern OutputPattern::parse(const std::string& text) {
  const std::string name = std::filesystem::path(text).filename().string();
  const auto ending = std::find_if(kEndings.begin(), kEndings.end(), [&](const FormatEnding& one) {
    const std::string_view end = one.text;
    return name.size() > end.size() && lowered(name.substr(name.size() - end.size())) == end;
  });
  if (ending == kEndings.end()) {
    refuse(text, "its end names no format",
           "end it in .png (8 bits), .16.png (16 bits) or .exr (floats), for example shots/harbour_####.png");
  }
  OutputPattern pattern;
  pattern.format_ = ending->format;
  const std::size_t length = text.size() - std::string_view(ending->text).size();
  pattern.ending_ = text.substr(length);
  pattern.readPieces(text, length, text.size() - name.size());
  return pattern;
}

void OutputPattern::readPieces(const std::string& text, std::size_t length, std::size_t folders) {
  std::string plain;
  for (std::size_t at = 0; at < length;) {
    const std::string_view rest = std::string_view(text).substr(at, length - at);
    const bool escaped = rest.starts_with("%%");
    const Placeholder found = escaped ? Placeholder{} : placeholderAt(rest, at < folders, text);
    if (found.length == 0) {
      plain += rest.front();
      at += escaped ? 2 : 1;
      continue;
    }
    if (!plain.empty()) pieces_.push_back({Piece::Kind::Text, std::exchange(plain, ""), 0});
    pieces_.push_back({found.camera ? Piece::Kind::Camera : Piece::Kind::Frame, {}, found.digits});
    at += found.length;
  }
  if (!plain.empty()) pieces_.push_back({Piece::Kind::Text, plain, 0});
}

std::string OutputPattern::text() const {
  std::string text;
  for (const Piece& piece : pieces_) {
    if (piece.kind == Piece::Kind::Camera) text += "{camera}";
    if (piece.kind == Piece::Kind::Frame) text += "%0" + std::to_string(piece.digits) + "d";
    if (piece.kind == Piece::Kind::Text) text += withoutPlaceholders(piece.text);
  }
  return text + ending_;
}

bool OutputPattern::has(Piece::Kind kind) const {
  return std::any_of(pieces_.begin(), pieces_.end(), [kind](const Piece& piece) { return piece.kind == kind; });
}

std::filesystem::path OutputPattern::folder() const {
  std::string same;
  for (const Piece& piece : pieces_) {
    if (piece.kind != Piece::Kind::Text) break;
    same += piece.text;
  }
  return std::filesystem::path(same).parent_path();
}

OutputPattern OutputPattern::numberingFrames() const {
  OutputPattern numbering = *this;
  if (numbersFrames()) return numbering;
  numbering.pieces_.push_back({Piece::Kind::Text, "_", 0});
  numbering.pieces_.push_back({Piece::Kind::Frame, {}, kUsualDigits});
  return numbering;
}

OutputPattern OutputPattern::namingCameras() const {
  OutputPattern naming = *this;
  if (namesCameras()) return naming;
  naming.pieces_.push_back({Piece::Kind::Text, "_", 0});
  naming.pieces_.push_back({Piece::Kind::Camera, {}, 0});
  return naming;
}

OutputPattern OutputPattern::forCamera(const std::string& camera) const {
  OutputPattern named = *this;
  for (Piece& piece : named.pieces_) {
    if (piece.kind == Piece::Kind::Camera) piece = {Piece::Kind::Text, asFileName(camera), 0};
  }
  return named;
}

std::filesystem::path OutputPattern::fileFor(std::int32_t frame) const {
  std::string file;
  for (const Piece& piece : pieces_)
    file += piece.kind == Piece::Kind::Frame ? padded(frame, piece.digits) : piece.text;
  return file + ending_;
}

std::filesystem::path OutputPattern::logFile() const {
  std::string name;
  for (const Piece& piece : pieces_) {
    if (piece.kind == Piece::Kind::Text) name += piece.text;
  }
  name.erase(0, name.rfind('/') + 1);
  const std::size_t end = name.find_last_not_of("_-. ");
  name.erase(end == std::string::npos ? 0 : end + 1);
  return folder() / ((name.empty() ? "render" : name) + ".log");
}

void refuseSharedFiles(const std::vector<std::string>& cameras, const OutputPattern& output) {
  std::map<std::string, std::string> files;
  for (const std::string& camera : cameras) {
    const auto [found, isNew] = files.emplace(output.forCamera(camera).fileFor(0), camera);
    if (isNew) continue;
    throw Failure(ExitStatus::Usage, "--camera '" + camera + "'",
                  "its pictures would have the names of those of '" + found->second + "'", "render it by itself");
  }
}

}  // namespace quillmere::app
