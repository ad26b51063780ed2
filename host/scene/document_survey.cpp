#include "scene/document_survey.h"

#include <tiny_gltf.h>

#include <algorithm>
#include <array>

#include "base/error.h"
#include "base/json.h"
#include "scene/warnings.h"

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

// What the parser needs for a document, in bytes, may grow with its JSON text but not out of proportion to it: tersely
// written nodes need up to 30 bytes for each of the text, a list of empty objects hundreds.
constexpr std::uint64_t kAlwaysAllowed = 64U << 20U;
constexpr std::uint64_t kMostPerByte = 32;
constexpr std::uint64_t kTreeValue = 32;  // a JSON value in the parser's tree, with its share of the list around it

// The members of a list of the document, by what the parser makes of them; `path` leads to that list.
std::uint64_t memberSize(std::span<const std::string> path) {
  using namespace tinygltf;
  struct Row {
    const char* list;
    std::uint64_t size;
  };
  static constexpr std::array<Row, 13> kLists{{{"accessors", sizeof(Accessor)},
                                               {"animations", sizeof(Animation)},
                                               {"buffers", sizeof(Buffer)},
                                               {"bufferViews", sizeof(BufferView)},
                                               {"cameras", sizeof(Camera)},
                                               {"images", sizeof(Image)},
                                               {"materials", sizeof(Material)},
                                               {"meshes", sizeof(Mesh)},
                                               {"nodes", sizeof(Node)},
                                               {"samplers", sizeof(Sampler)},
                                               {"scenes", sizeof(Scene)},
                                               {"skins", sizeof(Skin)},
                                               {"textures", sizeof(Texture)}}};
  static constexpr std::array<Row, 3> kInner{{{"primitives", sizeof(Primitive)},
                                              {"channels", sizeof(AnimationChannel)},
                                              {"samplers", sizeof(AnimationSampler)}}};
  const auto sizeIn = [](std::span<const Row> rows, const std::string& list) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return list == row.list; });
    return found == rows.end() ? 0 : found->size;
  };
  if (path.size() == 2) return sizeIn(kLists, path[1]);
  return path.size() == 4 ? sizeIn(kInner, path[3]) : 0;
}

// Receives the parser's events; `path_` holds the key under which each open object or array stands ("" in arrays).
class Surveyor : public nlohmann::json_sax<Json> {
 public:
  explicit Surveyor(std::size_t jsonBytes) : mostMemory_(kAlwaysAllowed + kMostPerByte * jsonBytes) {}

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
    if (key_ == "uri" && within("images", 3) && !tinygltf::IsDataURI(text)) result.externalImages.push_back(text);
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
    need(name.size() + sizeof(string_t));
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
    need(memberSize(path_));
    if (keptFrom_ == 0 && (key_ == "extras" || key_ == "extensions")) keptFrom_ = path_.size();
    path_.push_back(key_);
    key_.clear();
    return true;
  }

  bool close() {
    path_.pop_back();
    if (path_.size() == keptFrom_) keptFrom_ = 0;
    key_.clear();
    return true;
  }

  bool value(std::uint64_t weight) {
    if (path_.size() > 3 && path_[1] == "animations" && path_[3] == "extensions") extensionValues_ += weight;
    need(weight - 1 + kTreeValue + (keptFrom_ > 0 ? sizeof(tinygltf::Value) : 0));
    return true;
  }

  void need(std::uint64_t bytes) {
    memory_ += bytes;
    if (memory_ <= mostMemory_) return;
    const std::string list = path_.size() > 1 ? path_[1] : key_;
    throw Error("its '" + excerpt(list) + "' hold more values than a file of its size has use for; export it without " +
                "custom properties and empty objects");
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
  std::uint64_t memory_ = 0, mostMemory_;
  std::size_t keptFrom_ = 0;  // depth of the outermost "extras" or "extensions", all of which the parser keeps; 0: none
};

}  // namespace

DocumentSurvey surveyDocument(Bytes file) {
  const bool binary = isGlb(file);
  const Bytes json = binary ? jsonOfGlb(file) : file;
  Surveyor surveyor(json.size());
  surveyor.result.binary = binary;
  Json::sax_parse(json.begin(), json.end(), &surveyor);
  return std::move(surveyor.result);
}

}  // namespace quillmere::scene
