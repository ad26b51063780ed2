#include "scene/document_survey.h"

#include <tiny_gltf.h>

#include <algorithm>

#include "base/error.h"
#include "base/json.h"

namespace quillmere::scene {
namespace {

using Bytes = std::span<const std::uint8_t>;

// A binary glTF file: glTF 2.0, chapter 4 "GLB File Format Specification".
constexpr std::uint32_t kMagic = 0x46546C67;   // "glTF"
constexpr std::uint32_t kJson = 0x4E4F534A;    // "JSON"
constexpr std::uint32_t kBinary = 0x004E4942;  // "BIN\0"
constexpr std::size_t kHeader = 12;
constexpr std::size_t kChunkHeader = 8;

std::uint32_t littleEndian(Bytes bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = (value << 8U) | bytes[at + i];
  return value;
}

// The chunk that starts at the front of `rest`, which is shortened to what follows it.
Bytes takeChunk(Bytes& rest, std::uint32_t kind, const char* name) {
  if (rest.size() < kChunkHeader) throw Error(std::string("the file ends within the header of its ") + name + " chunk");
  const std::size_t length = littleEndian(rest, 0);
  if (littleEndian(rest, 4) != kind) throw Error(std::string("the ") + name + " chunk is not where it belongs");
  if (length > rest.size() - kChunkHeader) {
    throw Error(std::string("the ") + name + " chunk claims " + std::to_string(length) + " bytes where " +
                std::to_string(rest.size() - kChunkHeader) + " are left; the file is cut off or damaged");
  }
  const auto chunk = rest.subspan(kChunkHeader, length);
  rest = rest.subspan(kChunkHeader + length);
  return chunk;
}

bool isGlb(Bytes file) {
  return file.size() >= 4 && littleEndian(file, 0) == kMagic;
}

// Borrowed from `file`.
Bytes jsonOfGlb(Bytes file) {
  if (file.size() < kHeader) throw Error("the file ends within its header");
  const std::uint32_t version = littleEndian(file, 4);
  if (version != 2) throw Error("it is binary glTF version " + std::to_string(version) + "; only version 2 is read");
  const std::size_t length = littleEndian(file, 8);
  if (length < kHeader || length > file.size()) {
    throw Error("its header claims " + std::to_string(length) + " bytes, but the file has " +
                std::to_string(file.size()) + "; it is cut off or damaged");
  }
  auto rest = file.subspan(kHeader, length - kHeader);
  const auto json = takeChunk(rest, kJson, "JSON");
  if (!rest.empty()) takeChunk(rest, kBinary, "binary");
  return json;
}

constexpr std::size_t kDeepest = 128;
constexpr std::uint64_t kMostCopiedValues = 1U << 20U;

// Receives the parser's events; `path_` holds the key under which each open object or array stands ("" in arrays).
class Surveyor : public nlohmann::json_sax<Json> {
 public:
  DocumentSurvey result;

  bool null() override { return value(1); }
  bool boolean(bool) override { return value(1); }
  bool number_integer(number_integer_t) override { return value(1); }
  bool number_float(number_float_t, const string_t&) override { return value(1); }
  bool binary(binary_t&) override { return value(1); }

  bool number_unsigned(number_unsigned_t number) override {
    if (key_ == "byteLength" && within("buffers", 3)) bufferBytes_ = number;
    return value(1);
  }

  bool string(string_t& text) override {
    if (key_ == "version" && within("asset", 2)) result.version = text;
    if (within("extensionsRequired", 2)) result.requiredExtensions.push_back(text);
    if (key_ == "uri" && within("buffers", 3)) bufferUri_ = text;
    return value(1 + text.size());
  }

  bool start_object(std::size_t) override { return open(); }
  bool start_array(std::size_t) override { return open(); }
  bool end_array() override { return close(); }
  bool end_object() override {
    if (within("buffers", 3)) endBuffer();
    if (within("animations", 3)) endAnimation();
    if (within("animations", 5) && path_[3] == "samplers") ++samplers_;
    return close();
  }

  bool key(string_t& name) override {
    key_ = name;
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
    throw Error("its JSON text is damaged at byte " + std::to_string(position));
  }

 private:
  bool within(const char* member, std::size_t depth) const { return path_.size() == depth && path_[1] == member; }

  bool open() {
    if (path_.size() == kDeepest) throw Error("it is nested more than " + std::to_string(kDeepest) + " levels deep");
    value(1);
    path_.push_back(key_);
    key_.clear();
    return true;
  }

  bool close() {
    path_.pop_back();
    key_.clear();
    return true;
  }

  bool value(std::uint64_t weight) {
    if (path_.size() > 3 && path_[1] == "animations" && path_[3] == "extensions") extensionValues_ += weight;
    return true;
  }

  void endBuffer() {
    total_ += std::min<std::uint64_t>(bufferBytes_, kMostFileBytes);
    if (total_ > kMostFileBytes) throw Error("its buffers hold more than 2 GiB");
    if (!bufferUri_.empty() && !tinygltf::IsDataURI(bufferUri_)) result.externalBuffers.push_back(bufferUri_);
    bufferUri_.clear();
    bufferBytes_ = 0;
  }

  void endAnimation() {
    if (samplers_ * extensionValues_ > kMostCopiedValues) throw Error("the extensions of an animation are too large");
    samplers_ = extensionValues_ = 0;
  }

  std::vector<std::string> path_;
  std::string key_;
  std::string bufferUri_;
  std::uint64_t bufferBytes_ = 0, total_ = 0;
  std::uint64_t samplers_ = 0, extensionValues_ = 0;
};

}  // namespace

DocumentSurvey surveyDocument(Bytes file) {
  Surveyor surveyor;
  surveyor.result.binary = isGlb(file);
  const Bytes json = surveyor.result.binary ? jsonOfGlb(file) : file;
  Json::sax_parse(json.begin(), json.end(), &surveyor);
  return std::move(surveyor.result);
}

}  // namespace quillmere::scene
