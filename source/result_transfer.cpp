#include "result_transfer.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace quillmere {

using namespace cinema;

namespace {

constexpr Int32 kFloatComponents = 32;

bool Load(AutoAlloc<BaseBitmap>& bitmap, const Filename& file) {
  return bitmap.GetPointer() && bitmap->Init(file, -1, nullptr) == IMAGERESULT::OK;
}

void RetryInPictureViewer(const Filename& file) {
  AutoAlloc<BaseBitmap> image;
  if (Load(image, file)) ShowBitmap(image.GetPointer());
}

// Makes `made` the whole image at the buffer's size; false when there is no need to, or no memory.
bool Stretch(const BaseBitmap& image, const VPBuffer& buffer, std::optional<AutoAlloc<BaseBitmap>>& made) {
  const Int32 width = buffer.GetBw(), height = buffer.GetBh();
  if (image.GetBw() == width && image.GetBh() == height) return false;
  AutoAlloc<BaseBitmap>& stretched = made.emplace();
  if (!stretched.GetPointer()) return false;
  if (stretched->Init(width, height, 32, INITBITMAPFLAGS::NONE) != IMAGERESULT::OK) return false;
  image.ScaleBicubic(stretched, 0, 0, image.GetBw() - 1, image.GetBh() - 1, 0, 0, width - 1, height - 1);
  return true;
}

// Line by line from the top: the stored values divided to 0..1, 1 as alpha, 0 as whatever comes behind it. A quotient
// of such small integers rounds to the same float whether it was divided as double or as float, and floats are divided
// four at a time.
void CopyLines(const BaseBitmap& source, const VPBuffer& buffer) {
  const Int32 width = std::max(buffer.GetBw(), 0), height = buffer.GetBh();
  const std::size_t cpp = std::size_t(std::max(buffer.GetCpp(), 0)), values = std::size_t(width) * cpp;
  const UInt16 white = source.GetBt() <= 32 ? 255 : 65535;
  std::vector<UInt16> stored(values + 3);  // a pixel has three values to give, however few are asked for
  if (cpp > 3) {
    for (std::size_t alpha = 3; alpha < values; alpha += cpp) stored[alpha] = white;
  }
  std::vector<float> line(values);
  for (Int32 y = 0; y < height; ++y) {
    UInt16* pixel = stored.data();
    for (Int32 x = 0; x < width; ++x, pixel += cpp) source.GetPixel(x, y, &pixel[0], &pixel[1], &pixel[2]);
    for (std::size_t i = 0; i < values; ++i) line[i] = float(stored[i]) / float(white);
    buffer.SetLine(0, y, width, line.data(), kFloatComponents, false);
  }
}

}  // namespace

void TransferResult(VideoPostStruct* vps, Filename& resultFile) {
  if (!resultFile.IsPopulated() || !GeFExist(resultFile, false)) return;
  AutoAlloc<BaseBitmap> image;
  if (!Load(image, resultFile)) {
    RetryInPictureViewer(resultFile);
  } else if (const VPBuffer* const buffer = vps->render ? vps->render->GetBuffer(VPBUFFER_RGBA, NOTOK) : nullptr) {
    std::optional<AutoAlloc<BaseBitmap>> stretched;
    const bool asItIs = !Stretch(*image.GetPointer(), *buffer, stretched);
    CopyLines(asItIs ? *image.GetPointer() : *stretched->GetPointer(), *buffer);
  } else {
    ShowBitmap(image.GetPointer());
  }
  resultFile = Filename();
}

}  // namespace quillmere
