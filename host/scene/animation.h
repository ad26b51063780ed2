#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "scene/accessor_reader.h"
#include "scene/node_graph.h"
#include "scene/scene.h"

namespace quillmere::scene {

enum class Property { Translation, Rotation, Scale, Weights };
enum class Interpolation { Step, Linear, CubicSpline };

// Key frames of one property of one node.
struct Track {
  int node = 0;
  Property property = Property::Translation;
  Interpolation interpolation = Interpolation::Linear;
  std::vector<float> times;   // seconds, ascending, at least one
  std::vector<float> values;  // `width` numbers a key; CubicSpline: in-tangent, value, out-tangent of `width` each
  std::size_t width = 3;      // rotations have 4: x, y, z, w
};

// Writes the value at `seconds` into `out`, which has track.width numbers; held before the first and after the last
// key. Rotations are slerped along the shorter arc and come out with unit length.
void sample(const Track& track, double seconds, std::span<float> out);

// Samples the track into the property that it moves.
void applyTrack(const Track& track, double seconds, Pose& pose);

// What plays of a document's animations.
struct Playback {
  std::vector<Clip> clips;    // all there are, in document order
  std::vector<Track> tracks;  // of those played, at most one for each property of a node
};

// Plays the clip that `choose` names, or without a choice the first one and each later one that moves nothing that one
// before it moves. Throws Error (the reason alone).
Playback importAnimations(GltfDocument& document, AccessorReader& reader, const NodeGraph& graph,
                          const ClipChoice& choose);

}  // namespace quillmere::scene
