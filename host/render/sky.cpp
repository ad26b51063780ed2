#include "sky.h"

#include <cmath>

namespace quillmere::render {
namespace {

struct Gradient {
  glm::vec3 zenith, horizon, ground;
};

constexpr Gradient kRadiance{{0.24F, 0.38F, 0.64F}, {0.58F, 0.64F, 0.70F}, {0.20F, 0.19F, 0.17F}};
constexpr Gradient kBackdrop{{0.16F, 0.34F, 0.66F}, {0.68F, 0.79F, 0.88F}, {0.30F, 0.30F, 0.30F}};

glm::vec3 at(const Gradient& gradient, float height) {
  if (height >= 0.0F) return glm::mix(gradient.horizon, gradient.zenith, std::sqrt(height));
  return glm::mix(gradient.horizon, gradient.ground, glm::smoothstep(0.0F, 0.25F, -height));
}

}  // namespace

glm::vec3 Sky::radiance(glm::vec3 direction) const {
  return strength_ * at(kRadiance, direction.y);
}

glm::vec3 Sky::ambient() const {
  return strength_ * 0.25F * kRadiance.horizon;
}

glm::vec3 Sky::backdrop(glm::vec3 direction) {
  return at(kBackdrop, direction.y);
}

}  // namespace quillmere::render
