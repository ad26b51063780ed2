#include "image/cryptomatte.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>

#include "base/json.h"

namespace quillmere::image {
namespace {

std::uint32_t scrambled(std::uint32_t block) {
  return std::rotl(block * 0xcc9e2d51U, 15) * 0x1b873593U;
}

std::string eightDigits(std::uint32_t number) {
  std::array<char, 9> digits{};
  std::snprintf(digits.data(), digits.size(), "%08x", number);
  return digits.data();
}

}  // namespace

std::uint32_t murmurHash(std::string_view text) {
  std::uint32_t hash = 0;
  const std::size_t whole = text.size() / 4 * 4;
  for (std::size_t at = 0; at < text.size(); at += 4) {
    std::uint32_t block = 0;  // little-endian; the last one may be short
    for (std::size_t i = std::min(at + 4, text.size()); i-- > at;)
      block = block << 8U | static_cast<unsigned char>(text[i]);
    hash ^= scrambled(block);
    if (at < whole) hash = std::rotl(hash, 13) * 5 + 0xe6546b64U;
  }
  hash ^= static_cast<std::uint32_t>(text.size());
  hash = (hash ^ hash >> 16U) * 0x85ebca6bU;
  hash = (hash ^ hash >> 13U) * 0xc2b2ae35U;
  return hash ^ hash >> 16U;
}

std::uint32_t matteId(std::string_view name) {
  const std::uint32_t hash = murmurHash(name), exponent = std::clamp(hash >> 23U & 255U, 1U, 254U);
  return (hash & 0x807fffffU) | exponent << 23U;
}

std::vector<std::pair<std::string, std::string>> matteHeader(const std::string& type,
                                                             const std::vector<std::string>& names) {
  const std::string key = "cryptomatte/" + eightDigits(murmurHash(type)).substr(0, 7) + "/";
  Json manifest = Json::object();
  for (const std::string& name : names) manifest[name] = eightDigits(matteId(name));
  return {{key + "name", type},
          {key + "hash", "MurmurHash3_32"},
          {key + "conversion", "uint32_to_float32"},
          {key + "manifest", manifest.dump(-1, ' ', false, Json::error_handler_t::replace)}};
}

}  // namespace quillmere::image
