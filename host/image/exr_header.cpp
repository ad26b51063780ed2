#include "exr_header.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfTileDescription.h>
#include <OpenEXR/ImfVersion.h>

#include "exr_stream.h"

namespace quillmere::image {

namespace {

constexpr std::size_t kHeaderStart = 8;  // after the magic number and the version

std::uint32_t littleEndian(Bytes file, std::size_t at) {
  if (file.size() < 4 || at > file.size() - 4) throwDamaged("it ends within its header");
  return static_cast<std::uint32_t>(file[at] | file[at + 1] << 8U | file[at + 2] << 16U) |
         static_cast<std::uint32_t>(file[at + 3]) << 24U;
}

// The place behind the zero that ends the text at `at`.
std::size_t behindText(Bytes file, std::size_t at) {
  while (at < file.size() && file[at] != 0) ++at;
  if (at >= file.size()) throwDamaged("it ends within its header");
  return at + 1;
}

// The library takes as much memory as an attribute claims, without a look at what there is.
void checkAttributeSizes(Bytes file, bool multiPart) {
  std::size_t at = kHeaderStart;
  do {
    for (std::size_t next = behindText(file, at); next != at + 1; next = behindText(file, at)) {
      const std::size_t size = behindText(file, next);
      const std::size_t length = littleEndian(file, size);
      if (length > file.size() - size - 4) throwDamaged("an attribute of its header ends beyond the file");
      at = size + 4 + length;
    }
    ++at;
  } while (multiPart && at < file.size() && file[at] != 0);
}

std::uint64_t checkedSide(std::int64_t from, std::int64_t to) {
  if (to < from) throwDamaged("its window is empty");
  const std::int64_t side = to - from + 1;
  if (side > kMaxSide) throwUnsupported("its window has a side of " + std::to_string(side) + " pixels");
  return static_cast<std::uint64_t>(side);
}

void checkChunks(const Imf::Header& header) {
  std::uint64_t pixelBytes = 0;
  const Imf::ChannelList& channels = header.channels();
  for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
    pixelBytes += channel.channel().type == Imf::HALF ? 2 : 4;
  }
  const Imath::Box2i& window = header.dataWindow();
  const std::uint64_t width = checkedSide(window.min.x, window.max.x);
  checkedSide(window.min.y, window.max.y);
  const std::uint64_t rows = header.compression() == Imf::DWAB_COMPRESSION ? 256 : 32;
  std::uint64_t chunk = width * rows * pixelBytes;
  if (header.hasTileDescription()) {
    const Imf::TileDescription& tile = header.tileDescription();
    if (tile.xSize > kMaxSide || tile.ySize > kMaxSide) throwDamaged("its tiles are larger than a picture may be");
    chunk = std::max(width, std::uint64_t{tile.xSize}) * tile.ySize * pixelBytes;
  }
  if (chunk > kMaxPictureBytes) throwUnsupported("its channels and tiles take more than 1 GiB at a time");
}

}  // namespace

Imf::Header checkedExrHeader(Bytes file) {
  int version = static_cast<int>(littleEndian(file, kHeaderStart - 4));
  if (Imf::isNonImage(version)) throwUnsupported("it holds deep data");
  checkAttributeSizes(file, Imf::isMultiPart(version));
  ExrStream stream(file);
  stream.seekg(kHeaderStart);
  Imf::Header header;
  header.readFrom(stream, version);
  checkChunks(header);
  const Imath::Box2i& shown = header.displayWindow();
  checkedSide(shown.min.x, shown.max.x);
  checkedSide(shown.min.y, shown.max.y);
  return header;
}

}  // namespace quillmere::image
