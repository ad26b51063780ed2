#pragma once

#include "ray_scene.h"

// How strongly the lights of a scene shine, which may be anything from 1 to 100,000.
namespace quillmere::render {

// What a scene's own lights send to what they shine on now, as a share of what a picture is exposed for: directional
// lights the brightness of a day, the brightest surroundings of a lamp that of a lit room. 0 without light.
float measuredLight(const RayScene& scene);

// Whether any of the lights stands at a place, so that what moves changes what it measures.
bool hasLamps(const scene::Snapshot& snapshot);

}  // namespace quillmere::render
