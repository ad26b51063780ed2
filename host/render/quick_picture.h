#pragma once

#include "picture_request.h"

namespace quillmere::render {

// As an interactive viewport would show it: each surface in its own colour under a headlight and a hemispheric ambient
// light, unlit ones in their own colour, over a plain grey gradient; 4x anti-aliased. Byte RGB, empty when stopped.
// Throws Error.
image::Image quickPicture(const PictureRequest& request);

}  // namespace quillmere::render
