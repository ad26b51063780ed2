// Changes files as libFuzzer does, but mends the checksums of a PNG: otherwise it would be refused at its first change.
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

namespace quillmere::fuzz {
namespace {

constexpr std::array<std::uint8_t, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kAround = 12;  // bytes of a chunk's length, kind and checksum

std::size_t lengthAt(std::span<const std::uint8_t> bytes) {
  return std::size_t{bytes[0]} << 24U | std::size_t{bytes[1]} << 16U | std::size_t{bytes[2]} << 8U | bytes[3];
}

// Of every whole chunk, where `file` starts as a PNG.
void mendChecksums(std::span<std::uint8_t> file) {
  if (file.size() < kSignature.size() || !std::equal(kSignature.begin(), kSignature.end(), file.begin())) return;
  auto rest = file.subspan(kSignature.size());
  while (rest.size() >= kAround) {
    const std::size_t length = lengthAt(rest);
    if (length > rest.size() - kAround) return;
    const auto checked = rest.subspan(4, 4 + length);
    const auto sum = crc32(0, checked.data(), static_cast<unsigned>(checked.size()));
    for (unsigned i = 0; i < 4; ++i) rest[8 + length + i] = static_cast<std::uint8_t>(sum >> (24U - 8U * i));
    rest = rest.subspan(kAround + length);
  }
}

}  // namespace
}  // namespace quillmere::fuzz

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned) {
  size = LLVMFuzzerMutate(data, size, maxSize);
  quillmere::fuzz::mendChecksums({data, size});
  return size;
}
