#include "base/content_hash.h"

#define XXH_INLINE_ALL  // the header alone: nothing to link, nothing to install
#include <xxhash.h>

namespace quillmere {
namespace {

std::string hashOf(const void* bytes, std::size_t count) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes, count));
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : canonical.digest) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text;
}

}  // namespace

std::string contentHash(std::span<const std::uint8_t> content) {
  return hashOf(content.data(), content.size());
}

std::string contentHash(std::string_view content) {
  return hashOf(content.data(), content.size());
}

}  // namespace quillmere
