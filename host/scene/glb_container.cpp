#include "scene/glb_container.h"

#include <cstring>
#include <string>

#include "scene/scene.h"

namespace quillmere::scene {
namespace {

constexpr std::uint32_t kMagic = 0x46546C67;   // "glTF"
constexpr std::uint32_t kJson = 0x4E4F534A;    // "JSON"
constexpr std::uint32_t kBinary = 0x004E4942;  // "BIN\0"
constexpr std::size_t kHeader = 12;
constexpr std::size_t kChunkHeader = 8;

std::uint32_t littleEndian(std::span<const std::uint8_t> bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = (value << 8U) | bytes[at + i];
  return value;
}

// The chunk that starts at the front of `rest`, which is shortened to what follows it.
std::span<const std::uint8_t> takeChunk(std::span<const std::uint8_t>& rest, std::uint32_t kind, const char* name) {
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

}  // namespace

bool isGlb(std::span<const std::uint8_t> file) {
  return file.size() >= 4 && littleEndian(file, 0) == kMagic;
}

std::span<const std::uint8_t> jsonOfGlb(std::span<const std::uint8_t> file) {
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

}  // namespace quillmere::scene
