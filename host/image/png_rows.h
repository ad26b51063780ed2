#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "image/image.h"

namespace quillmere::image {

// Packs the rows of a picture as the IDAT chunks of a PNG hold them (https://www.w3.org/TR/png-3, sections 9 and 10):
// samples of `depth`, Byte or Word, each row filtered and all in one stream of zlib's. Hands its parts to `write` in
// order, which is called on this thread. The rows are packed in strips on all cores; the stream is the same on any
// number of them, and of large pictures only some strips are in memory at a time. Throws what `write` throws, and
// std::bad_alloc.
void packPngRows(const Image& picture, Sample depth, const std::function<void(std::span<const std::uint8_t>)>& write);

}  // namespace quillmere::image
