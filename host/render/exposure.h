#pragma once

#include "posed_scene.h"

namespace quillmere::render {

// What to multiply a scene's own lights with, as their strengths are anything from 1 to 100,000: brings what
// directional lights send to the brightness of a day and the brightest surroundings of a lamp to that of a lit room.
// It does not depend on the camera and changes smoothly with what moves. 1 for a scene without light.
float exposureOf(const PosedScene& scene);

}  // namespace quillmere::render
