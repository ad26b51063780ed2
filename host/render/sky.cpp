#include "sky.h"

#include <cmath>

namespace quillmere::render {
namespace {

struct Gradient {
  glm::vec3 zenith, horizon, ground;
};

constexpr Gradient kRadiance{{0.34F, 0.48F, 0.72F}, {0.74F, 0.78F, 0.82F}, {0.26F, 0.25F, 0.23F}};
constexpr Gradient kBackdrop{{0.16F, 0.34F, 0.66F}, {0.68F, 0.79F, 0.88F}, {0.44F, 0.47F, 0.50F}};

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

glm::vec3 Sky::backdrop(glm::vec3 direction) const {
  return std::sqrt(strength_) * at(kBackdrop, direction.y);
}

}  // namespace quillmere::render
