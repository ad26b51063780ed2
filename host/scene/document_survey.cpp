#include "scene/document_survey.h"

#include <tiny_gltf.h>
#include <nlohmann/json.hpp>

#include "scene/neighbour_files.h"
#include "scene/scene.h"
#include "scene/warnings.h"

namespace quillmere::scene {
namespace {

constexpr std::size_t kDeepest = 128;
constexpr std::uint64_t kMostCopiedValues = 1U << 20U;

// Receives the parser's events; `path_` holds the key under which each open object or array stands ("" in arrays).
class Surveyor : public nlohmann::json_sax<nlohmann::json> {
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

DocumentSurvey surveyDocument(std::span<const std::uint8_t> json) {
  Surveyor surveyor;
  nlohmann::json::sax_parse(json.begin(), json.end(), &surveyor);
  return std::move(surveyor.result);
}

}  // namespace quillmere::scene
