// Pictures of every format from memory, and what is done with one that is read.
#include "image/conversion.h"
#include "image/file_formats.h"
#include "image/scaling.h"

namespace quillmere {
namespace {

using image::Image;

void use(const Image& picture) {
  if (picture.empty()) __builtin_trap();
  if (picture.width() > 256 || picture.height() > 256) return;  // the same code, only slower
  const Image bytes = image::withChannels(image::convert(picture, image::Sample::Byte), 4);
  image::scaleBicubic(bytes, {0, 0, bytes.width(), bytes.height()}, 5, 3);
}

}  // namespace
}  // namespace quillmere

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    quillmere::use(quillmere::image::decode({data, size}, "fuzz"));
  } catch (const quillmere::Error&) {
  }
  return 0;
}
