#pragma once

#include "layer_loop.h"
#include "shaders.h"

namespace quillmere::render {

// Draws more samples of those pixels of a final picture where smoothing would leave most grain (edges, fine textures,
// the edges of shadows and highlights), up to fifteen times the `samples` with which `picture` was drawn by `shader`.
// The outcome doesn't depend on the threads.
Outcome sampleEdges(const PictureRequest& request, int samples, std::uint32_t seed, const FinalShader& shader,
                    LitPicture& picture);

}  // namespace quillmere::render
