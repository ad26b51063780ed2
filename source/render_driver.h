#pragma once

#include "c4d.h"

namespace quillmere {

// The opening render call: generates the frame's picture for the prompt, from the node's settings through the guide
// image and the render helper to the recorded result, while the helper's progress is reported. Blocks until the helper
// has ended or the user has stopped the render. `resultFile` receives the picture's path, or nothing when the helper
// named none; a call that ends early leaves it as it was.
//
// OK after a finished generation, and with nothing done for a node without settings or without a workflow; FAILED
// without a camera, guide or helper's success; PROJECTNOTFOUND when the request can't be written.
cinema::RENDERRESULT GenerateFrame(cinema::BaseVideoPost* node, cinema::VideoPostStruct* vps,
                                   const cinema::String& prompt, cinema::Filename& resultFile);

}  // namespace quillmere
