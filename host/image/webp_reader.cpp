#include <webp/decode.h>
#include <webp/demux.h>

#include <memory>

#include "image/codecs.h"

namespace quillmere::image {

namespace {

struct Demuxer {
  explicit Demuxer(Bytes file) {
    const WebPData data = {file.data(), file.size()};
    handle.reset(WebPDemux(&data));
    if (handle == nullptr || WebPDemuxGetFrame(handle.get(), 1, &frame) == 0 || frame.complete == 0) {
      WebPDemuxReleaseIterator(&frame);
      throwDamaged("it ends too early or isn't laid out as WebP");
    }
  }
  ~Demuxer() { WebPDemuxReleaseIterator(&frame); }
  Demuxer(const Demuxer&) = delete;
  Demuxer& operator=(const Demuxer&) = delete;

  struct Delete {
    void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
  };
  std::unique_ptr<WebPDemuxer, Delete> handle;
  WebPIterator frame = {};
};

}  // namespace

bool looksLikeWebp(Bytes file) {
  return startsWith(file, "RIFF") && file.size() >= 12 && startsWith(file.subspan(8), "WEBP");
}

// An animation gives its first frame, on a transparent ground where the frame doesn't fill it.
Image decodeWebp(Bytes file) {
  const Demuxer demuxer(file);
  const WebPIterator& frame = demuxer.frame;
  const std::uint64_t width = WebPDemuxGetI(demuxer.handle.get(), WEBP_FF_CANVAS_WIDTH);
  const std::uint64_t height = WebPDemuxGetI(demuxer.handle.get(), WEBP_FF_CANVAS_HEIGHT);
  checkClaimedSize(width, height);
  const int across = static_cast<int>(width), down = static_cast<int>(height);
  const bool inside = frame.x_offset >= 0 && frame.width > 0 && frame.width <= across - frame.x_offset &&
                      frame.y_offset >= 0 && frame.height > 0 && frame.height <= down - frame.y_offset;
  if (!inside) throwDamaged("its first frame lies outside the picture");
  const bool fills = frame.width == across && frame.height == down;
  const int channels = fills && frame.has_alpha == 0 ? 3 : 4;
  Image picture = pictureOfClaimedSize(width, height, channels, Sample::Byte);

  const int stride = picture.width() * channels;
  auto* to = picture.pixel<std::uint8_t>(frame.x_offset, frame.y_offset);
  const auto* end = picture.row<std::uint8_t>(0) + static_cast<std::size_t>(stride) * height;
  const auto decodeInto = channels == 3 ? WebPDecodeRGBInto : WebPDecodeRGBAInto;
  if (decodeInto(frame.fragment.bytes, frame.fragment.size, to, static_cast<std::size_t>(end - to), stride) ==
      nullptr) {
    throwDamaged("its pixels can't be decoded");
  }
  return picture;
}

}  // namespace quillmere::image
