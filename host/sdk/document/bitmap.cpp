#include "document/bitmap.h"

#include <unistd.h>

#include <new>
#include <utility>

#include "core/application_state.h"
#include "core/substitutes.h"
#include "core/text.h"
#include "image/file_formats.h"

namespace cinema {

using quillmere::host::operations;
using quillmere::host::PixelStore;
namespace image = quillmere::image;

namespace {

// Runs `step`, which may throw. `otherwise` is what a picture that it refuses means.
template <class Step>
IMAGERESULT folded(IMAGERESULT otherwise, Step&& step) {
  try {
    return step();
  } catch (const std::bad_alloc&) {
    return IMAGERESULT::OUTOFMEMORY;
  } catch (const std::exception&) {
    return otherwise;
  }
}

}  // namespace

BaseBitmap::BaseBitmap() : parts_(new Parts) {}
BaseBitmap::~BaseBitmap() {
  delete parts_;
}

BaseBitmap* HostSide<BaseBitmap>::make() {
  try {
    return new BaseBitmap;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

template <class Step>
IMAGERESULT HostSide<BaseBitmap>::change(BaseBitmap& bitmap, IMAGERESULT otherwise, Step&& step) {
  PixelStore& pixels = bitmap.parts_->pixels;
  const IMAGERESULT result = folded(otherwise, [&] { return step(pixels); });
  const std::uint8_t* const first = pixels.colorBytes();
  bitmap.colors_ = first ? BaseBitmap::Colors{first, pixels.width(), pixels.height()} : BaseBitmap::Colors{};
  return result;
}

bool HostSide<BaseBitmap>::show(BaseBitmap& bitmap, image::Image picture) {
  return change(bitmap, IMAGERESULT::MISC_ERROR, [&](PixelStore& pixels) {
           return pixels.replace(std::move(picture)) ? IMAGERESULT::OK : IMAGERESULT::PARAM_ERROR;
         }) == IMAGERESULT::OK;
}

namespace {

using Side = HostSide<BaseBitmap>;

IMAGERESULT init(BaseBitmap& bitmap, Int32 width, Int32 height, Int32 depth) {
  return Side::change(bitmap, IMAGERESULT::PARAM_ERROR, [&](PixelStore& pixels) {
    pixels = PixelStore();
    if (!PixelStore::depthIsModelled(depth)) return IMAGERESULT::PARAM_ERROR;
    pixels = PixelStore(width, height, depth);
    return IMAGERESULT::OK;
  });
}

IMAGERESULT load(BaseBitmap& bitmap, const Filename& name) {
  return Side::change(bitmap, IMAGERESULT::FILESTRUCTURE, [&](PixelStore& pixels) {
    pixels = PixelStore();
    const std::filesystem::path file = quillmere::host::pathOf(name);
    std::error_code unknown;
    if (!std::filesystem::is_regular_file(file, unknown)) return IMAGERESULT::NOTEXISTING;
    if (access(file.c_str(), R_OK) != 0) return IMAGERESULT::FILEERROR;
    pixels = PixelStore(image::read(file));
    return IMAGERESULT::OK;
  });
}

IMAGERESULT save(const BaseBitmap& bitmap, const Filename& name, Int32 format, SAVEBIT bits) {
  if (format != FILTER_PNG) return IMAGERESULT::WRONGTYPE;
  const bool alpha = (bits & SAVEBIT::ALPHA) != SAVEBIT::NONE;  // there is none to save
  const PixelStore& pixels = Side::pixels(bitmap);
  if (pixels.width() == 0 || !name.IsPopulated() || alpha) return IMAGERESULT::PARAM_ERROR;
  const bool deep = (bits & SAVEBIT::USE16BITCHANNELS) != SAVEBIT::NONE;
  return folded(IMAGERESULT::FILEERROR, [&] {
    image::writePng(quillmere::host::pathOf(name), pixels.pixels(),
                    deep ? image::PngDepth::As16Bit : image::PngDepth::As8Bit);
    return IMAGERESULT::OK;
  });
}

[[maybe_unused]] const bool inTable = [] {
  operations().makeBitmap = Side::make;
  operations().initBitmap = init;
  operations().loadBitmap = load;
  operations().saveBitmap = save;
  return true;
}();

// A module that scales a picture is told nothing of a failure, and may take one that could not be made for none that is
// needed.
void reportLack(const std::string& what) {
  GePrint(quillmere::host::fromUtf8(std::string(quillmere::host::kNotMade) + "there is not enough memory for " + what));
}
void reportLack(IMAGERESULT result, Int32 width, Int32 height) {
  if (result == IMAGERESULT::OUTOFMEMORY) {
    reportLack(std::to_string(width) + "x" + std::to_string(height) + " pixels");
  }
}

}  // namespace

BaseBitmap* BaseBitmap::Alloc() {
  BaseBitmap* const made = operations().makeBitmap();
  if (made == nullptr) reportLack("another picture");
  return made;
}

void BaseBitmap::Free(BaseBitmap*& bm) {
  delete bm;
  bm = nullptr;
}

IMAGERESULT BaseBitmap::Init(const Filename& name, Int32 frame, Bool* ismovie) {
  if (ismovie) *ismovie = false;
  if (frame > 0) return IMAGERESULT::PARAM_ERROR;  // a still picture holds one frame
  return operations().loadBitmap(*this, name);
}

IMAGERESULT BaseBitmap::Init(Int32 x, Int32 y, Int32 depth, INITBITMAPFLAGS flags) {
  if (flags != INITBITMAPFLAGS::NONE) return IMAGERESULT::PARAM_ERROR;
  const IMAGERESULT result = operations().initBitmap(*this, x, y, depth);
  reportLack(result, x, y);
  return result;
}

IMAGERESULT BaseBitmap::Save(const Filename& name, Int32 format, BaseContainer*, SAVEBIT savebits) const {
  return operations().saveBitmap(*this, name, format, savebits);
}

Int32 BaseBitmap::GetBw() const {
  return parts_->pixels.width();
}
Int32 BaseBitmap::GetBh() const {
  return parts_->pixels.height();
}
Int32 BaseBitmap::GetBt() const {
  return parts_->pixels.depth();
}

void BaseBitmap::FindPixel(Int32 x, Int32 y, UInt16* r, UInt16* g, UInt16* b) const {
  parts_->pixels.read(x, y, r, g, b);
}

Bool BaseBitmap::SetPixel(Int32 x, Int32 y, Int32 r, Int32 g, Int32 b) {
  return parts_->pixels.set(x, y, r, g, b);
}

void BaseBitmap::ScaleBicubic(BaseBitmap* dst, Int32 src_xmin, Int32 src_ymin, Int32 src_xmax, Int32 src_ymax,
                              Int32 dst_xmin, Int32 dst_ymin, Int32 dst_xmax, Int32 dst_ymax) const {
  if (!dst) return;
  const IMAGERESULT result = HostSide<BaseBitmap>::change(*dst, IMAGERESULT::MISC_ERROR, [&](PixelStore& pixels) {
    parts_->pixels.stretch({src_xmin, src_ymin, src_xmax, src_ymax}, pixels, {dst_xmin, dst_ymin, dst_xmax, dst_ymax});
    return IMAGERESULT::OK;
  });
  reportLack(result, dst->GetBw(), dst->GetBh());
}

Bool ShowBitmap(BaseBitmap* bm) {
  const auto* application = quillmere::host::applicationState();
  if (!application || !bm || bm->GetBw() == 0) return false;
  application->events.pictureViewer(Side::pixels(*bm).pixels());
  return true;
}

}  // namespace cinema
