#include "result_transfer.h"

#include <algorithm>
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

// Fills `stretched` with the whole image at the buffer's size; false when there is no need to, or no memory.
bool Stretch(const BaseBitmap& image, const VPBuffer& buffer, AutoAlloc<BaseBitmap>& stretched) {
  const Int32 width = buffer.GetBw(), height = buffer.GetBh();
  if (image.GetBw() == width && image.GetBh() == height) return false;
  if (!stretched.GetPointer()) return false;
  if (stretched->Init(width, height, 32, INITBITMAPFLAGS::NONE) != IMAGERESULT::OK) return false;
  image.ScaleBicubic(stretched, 0, 0, image.GetBw() - 1, image.GetBh() - 1, 0, 0, width - 1, height - 1);
  return true;
}

// Line by line from the top, the stored values divided to 0..1 and no alpha but 1.
void CopyLines(const BaseBitmap& source, const VPBuffer& buffer) {
  const Int32 width = std::max(buffer.GetBw(), 0), height = buffer.GetBh();
  const std::size_t cpp = std::size_t(std::max(buffer.GetCpp(), 0));
  const double divisor = source.GetBt() <= 32 ? 255.0 : 65535.0;
  std::vector<float> line(std::size_t(width) * cpp);
  for (Int32 y = 0; y < height; ++y) {
    for (Int32 x = 0; x < width; ++x) {
      UInt16 rgb[3] = {0, 0, 0};
      source.GetPixel(x, y, &rgb[0], &rgb[1], &rgb[2]);
      float* const pixel = line.data() + std::size_t(x) * cpp;
      for (std::size_t c = 0; c < std::min<std::size_t>(cpp, 3); ++c) pixel[c] = float(rgb[c] / divisor);
      if (cpp > 3) pixel[3] = 1.0f;
    }
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
    AutoAlloc<BaseBitmap> stretched;
    const bool fits = !Stretch(*image.GetPointer(), *buffer, stretched);
    CopyLines(fits ? *image.GetPointer() : *stretched.GetPointer(), *buffer);
  } else {
    ShowBitmap(image.GetPointer());
  }
  resultFile = Filename();
}

}  // namespace quillmere
