#include "scene/parser_input.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "base/json.h"

namespace quillmere::scene {
namespace {

constexpr const char* kExtension = "KHR_draco_mesh_compression";
constexpr int kDeepest = 128;                          // as surveyed
constexpr std::size_t kHeader = 12, kChunkHeader = 8;  // of a .glb, and of each chunk in it

std::uint32_t numberAt(const std::vector<std::uint8_t>& file, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t byte = 4; byte > 0; --byte) number = number << 8U | file[at + byte - 1];
  return number;
}

void putNumber(std::size_t number, std::size_t at, std::vector<std::uint8_t>& file) {
  for (std::size_t byte = 0; byte < 4; ++byte) file[at + byte] = static_cast<std::uint8_t>(number >> 8U * byte);
}

// Members may be of any type.
Json* memberOf(Json& value, const char* key) {
  if (!value.is_object()) return nullptr;
  const auto found = value.find(key);
  return found == value.end() ? nullptr : &*found;
}

void dropIndicesOf(Json& mesh) {
  Json* const primitives = memberOf(mesh, "primitives");
  if (primitives == nullptr) return;
  for (Json& primitive : *primitives) {
    Json* const extensions = memberOf(primitive, "extensions");
    if (extensions != nullptr && memberOf(*extensions, kExtension) != nullptr) primitive.erase("indices");
  }
}

void dropIndices(Json& document) {
  Json* const meshes = memberOf(document, "meshes");
  if (meshes == nullptr) return;
  for (Json& mesh : *meshes) dropIndicesOf(mesh);
}

}  // namespace

std::vector<std::uint8_t> forParser(std::vector<std::uint8_t> file, bool binary) {
  const std::size_t begin = binary ? kHeader + kChunkHeader : 0;
  const std::size_t length = binary ? numberAt(file, kHeader) : file.size();
  const std::string_view text(reinterpret_cast<const char*>(file.data()) + begin, length);
  if (text.find(kExtension) == std::string_view::npos) return file;
  Json document = parsedJson(text, kDeepest);
  dropIndices(document);
  std::string written = document.dump(-1, ' ', false, Json::error_handler_t::replace);
  document = {};
  written.resize((written.size() + 3) / 4 * 4, ' ');
  std::vector<std::uint8_t> input(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(begin));
  input.insert(input.end(), written.begin(), written.end());
  input.insert(input.end(), file.begin() + static_cast<std::ptrdiff_t>(begin + length), file.end());
  if (binary) {
    putNumber(input.size(), kChunkHeader, input);  // the length of all stands before the first chunk
    putNumber(written.size(), kHeader, input);
  }
  return input;
}

}  // namespace quillmere::scene
