#include "panorama.h"

#include <algorithm>
#include <cmath>
#include <glm/gtc/constants.hpp>

namespace quillmere::render {
namespace {

constexpr float kBrightest = 1e6F;

}  // namespace

Panorama::Panorama(const image::Image& picture, float strength) : picture_(picture), strength_(strength), mean_(0.0F) {
  glm::dvec3 sum(0.0);
  double weights = 0.0;
  for (int y = 0; y < picture.height(); ++y) {
    const double height = std::sin(glm::pi<double>() * (y + 0.5) / picture.height());
    glm::vec3 row(0.0F);
    for (int x = 0; x < picture.width(); ++x) row += texel(x, y);
    sum += glm::dvec3(row) * height;
    weights += height * picture.width();
  }
  mean_ = glm::vec3(sum / weights);
}

glm::vec3 Panorama::texel(int x, int y) const {
  const float* rgb =
      picture_.pixel<float>((x + picture_.width()) % picture_.width(), std::clamp(y, 0, picture_.height() - 1));
  glm::vec3 light;
  for (int c = 0; c < 3; ++c) light[c] = rgb[c] > 0.0F ? std::min(rgb[c], kBrightest) : 0.0F;
  return light * strength_;
}

glm::vec3 Panorama::radiance(glm::vec3 direction) const {
  const float longitude = std::atan2(direction.x, -direction.z) / glm::two_pi<float>() + 0.5F;
  const float latitude = std::acos(std::clamp(direction.y, -1.0F, 1.0F)) / glm::pi<float>();
  const float x = longitude * static_cast<float>(picture_.width()) - 0.5F;
  const float y = latitude * static_cast<float>(picture_.height()) - 0.5F;
  const float left = std::floor(x), top = std::floor(y);
  const int column = static_cast<int>(left), row = static_cast<int>(top);
  const auto across = [&](int line) { return glm::mix(texel(column, line), texel(column + 1, line), x - left); };
  return glm::mix(across(row), across(row + 1), y - top);
}

}  // namespace quillmere::render
