#pragma once

#include "picture_request.h"
#include "renderer.h"

namespace quillmere::render {

// Surfaces under the scene's lights (or a sun and a sky) with soft shadows and light that bounces once, film-like
// tones; unlit surfaces and the backdrop in their own colours. Float RGB, display-referred, 0-1; the same for the same
// settings whatever the number of threads. Empty when stopped. Throws Error.
image::Image finalPicture(const PictureRequest& request, const FinalSettings& settings);

}  // namespace quillmere::render
