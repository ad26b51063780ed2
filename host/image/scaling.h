#pragma once

#include "image.h"

namespace quillmere::image {

// A rectangle of pixels: left, top inclusive; width and height at least 1.
struct Area {
  int left = 0, top = 0, width = 0, height = 0;
};

// Catmull-Rom scaling, up or down, of `from` (which must lie inside `picture`) to width x height pixels; aspect ratio
// is not kept, edges are clamped, and samples and channels stay what they are; Float may overshoot at hard edges.
// All channels are scaled alike: alpha doesn't weigh the colours. Works on all cores with the same result on any
// number of them. Throws Error.
Image scaleBicubic(const Image& picture, Area from, int width, int height);

// The same pixels with other samples; Byte 255, Word 65535 and Float 1.0 are the same white. Float made into
// the others is clamped to 0-1, and not-a-number is black. A picture that is so already keeps its values.
Image convert(const Image& picture, Sample sample);
Image convert(Image&& picture, Sample sample);  // copies nothing where nothing changes
// The same pixels with 1 to 4 channels: grey is spread or taken as Rec. 709 luma, a missing alpha is opaque.
Image withChannels(const Image& picture, int channels);
Image withChannels(Image&& picture, int channels);  // copies nothing where nothing changes

}  // namespace quillmere::image
