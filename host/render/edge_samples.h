#pragma once

#include "layer_loop.h"
#include "shaders.h"

namespace quillmere::render {

// Draws more samples of those pixels of a final picture whose samples differ most in what the display shows (edges, fine
// textures, shadows, highlights), up to seven times the `samples` with which `picture` was drawn by `shader`. Most of
// what is wrong with a picture of few samples is wrong there, where no filter may smooth. The outcome doesn't depend on
// the threads.
Outcome sampleEdges(const PictureRequest& request, int samples, std::uint32_t seed, const FinalShader& shader,
                    const LitPicture& picture);

}  // namespace quillmere::render
