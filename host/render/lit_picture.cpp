#include "lit_picture.h"

#include <algorithm>
#include <cmath>

namespace quillmere::render {

float Moments::error() const {
  if (!(weight > 0.0F)) return 0.0F;
  const float mean = first / weight, spread = second / weight - mean * mean;
  return count > 1.0F ? std::max(0.0F, spread) / (count - 1.0F) : mean * mean;
}

float Halves::error(float least) const {
  if (!(laterWeight > 0.0F && earlierWeight() > 0.0F)) return all.error();
  const float apart = (all.first - later) / earlierWeight() - later / laterWeight;
  const float share = laterWeight / all.weight;
  return std::max(share * (1.0F - share) * apart * apart, least * all.error());
}

constexpr float kLeastWeight = 1e-6F;

glm::vec3 ColoredLight::alone(float weight) const {
  constexpr float kLeastColor = 1e-3F;
  return light / glm::max(color, glm::vec3(kLeastColor * std::max(kLeastWeight, weight)));
}

glm::vec3 LitFragment::meanCoat() const {
  return coat / std::max(kLeastWeight, chalkLight.all.weight);
}

int LitPixel::fragmentOf(glm::vec3 faceNormal, glm::vec3 place, float size) {
  constexpr float kOff = 1.0F;   // of a pixel that a place may be off the surface of a fragment
  constexpr float kTurn = 0.3F;  // by which the cosine between normals may be less than one
  float least = 0.0F;
  int likest = -1;
  for (std::size_t i = 0; i < fragments.size(); ++i) {
    const glm::vec3 normal = fragments[i].faceNormal, way = place - fragments[i].place;
    const float off = std::abs(glm::dot(normal, way)) + std::abs(glm::dot(faceNormal, way));
    const float unlike = std::max(off * kTurn, (1.0F - glm::dot(normal, faceNormal)) * kOff * size);
    if (unlike < kOff * kTurn * size) return static_cast<int>(i);
    if (likest < 0 || unlike < least) {
      least = unlike;
      likest = static_cast<int>(i);
    }
  }
  if (fragments.size() == kMostFragments) return likest;
  fragments.emplace_back();
  fragments.back().faceNormal = faceNormal;
  fragments.back().place = place;
  return static_cast<int>(fragments.size()) - 1;
}

}  // namespace quillmere::render
