#pragma once

#include <cmath>
#include <glm/glm.hpp>

namespace quillmere::scene {

// Below this the square of a length has lost digits in a float, and what is divided by the length isn't of length 1.
inline constexpr float kShortest = 1e-15F;

inline bool isMeasurable(float length) {
  return length > kShortest && std::isfinite(length);
}

// `v` brought to length 1, or `otherwise` where it has no length to speak of.
inline glm::vec3 unitOr(glm::vec3 v, glm::vec3 otherwise) {
  const float length = glm::length(v);
  return isMeasurable(length) ? v / length : otherwise;
}

}  // namespace quillmere::scene
