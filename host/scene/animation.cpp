#include "scene/animation.h"

#include <algorithm>
#include <array>

namespace quillmere::scene {
namespace {

// Between key `index` and the next one; `t` runs from 0 to 1 in `span` seconds.
struct KeyInterval {
  std::size_t index = 0;
  float t = 0.0F;
  float span = 0.0F;
};

KeyInterval intervalAt(const Track& track, double seconds) {
  const auto& times = track.times;
  const auto after = std::upper_bound(times.begin(), times.end(), seconds,
                                      [](double now, float key) { return now < static_cast<double>(key); });
  if (after == times.begin()) return {};
  const auto index = static_cast<std::size_t>(after - times.begin()) - 1;
  if (after == times.end()) return {index, 0.0F, 0.0F};
  const float span = *after - times[index];
  return {index, static_cast<float>((seconds - static_cast<double>(times[index])) / static_cast<double>(span)), span};
}

enum class KeyPart : std::size_t { InTangent, Value, OutTangent };

const float* keyAt(const Track& track, std::size_t index, KeyPart part) {
  const bool spline = track.interpolation == Interpolation::CubicSpline;
  const std::size_t at = spline ? 3 * index + static_cast<std::size_t>(part) : index;
  return track.values.data() + at * track.width;
}

glm::quat quatFrom(const float* xyzw) {
  return unitQuaternion({xyzw[3], xyzw[0], xyzw[1], xyzw[2]});
}

void store(glm::quat q, std::span<float> out) {
  out[0] = q.x;
  out[1] = q.y;
  out[2] = q.z;
  out[3] = q.w;
}

void linear(const Track& track, const KeyInterval& keys, std::span<float> out) {
  const float* from = keyAt(track, keys.index, KeyPart::Value);
  const float* to = keyAt(track, keys.index + 1, KeyPart::Value);
  if (track.property == Property::Rotation) {
    store(glm::slerp(quatFrom(from), quatFrom(to), keys.t), out);
    return;
  }
  for (std::size_t i = 0; i < track.width; ++i) out[i] = from[i] + (to[i] - from[i]) * keys.t;
}

// glTF 2.0, appendix C.5: tangents are per second.
void cubicSpline(const Track& track, const KeyInterval& keys, std::span<float> out) {
  const float* from = keyAt(track, keys.index, KeyPart::Value);
  const float* outTangent = keyAt(track, keys.index, KeyPart::OutTangent);
  const float* inTangent = keyAt(track, keys.index + 1, KeyPart::InTangent);
  const float* to = keyAt(track, keys.index + 1, KeyPart::Value);
  const float t = keys.t;
  const float t2 = t * t;
  const float t3 = t2 * t;
  for (std::size_t i = 0; i < track.width; ++i) {
    out[i] = (2.0F * t3 - 3.0F * t2 + 1.0F) * from[i] + keys.span * (t3 - 2.0F * t2 + t) * outTangent[i] +
             (-2.0F * t3 + 3.0F * t2) * to[i] + keys.span * (t3 - t2) * inTangent[i];
  }
}

}  // namespace

void sample(const Track& track, double seconds, std::span<float> out) {
  const KeyInterval keys = intervalAt(track, seconds);
  if (keys.span <= 0.0F || track.interpolation == Interpolation::Step) {
    std::copy_n(keyAt(track, keys.index, KeyPart::Value), track.width, out.begin());
  } else if (track.interpolation == Interpolation::Linear) {
    linear(track, keys, out);
  } else {
    cubicSpline(track, keys, out);
  }
  if (track.property == Property::Rotation) store(quatFrom(out.data()), out);
}

void applyTrack(const Track& track, double seconds, Pose& pose) {
  if (track.property == Property::Weights) {
    pose.weights.resize(track.width);
    sample(track, seconds, pose.weights);
    return;
  }
  std::array<float, 4> value{};
  sample(track, seconds, value);
  const glm::vec3 vector(value[0], value[1], value[2]);
  switch (track.property) {
    case Property::Translation:
      pose.translation = vector;
      break;
    case Property::Scale:
      pose.scale = vector;
      break;
    default:
      pose.rotation = {value[3], value[0], value[1], value[2]};
      break;
  }
}

}  // namespace quillmere::scene
