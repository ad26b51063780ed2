#include "line_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <glm/glm.hpp>

#include "four.h"

namespace quillmere::render {
namespace {

// How far normals on both sides of a crease are apart, as the chord of their angle: from 23 degrees on a line begins to
// show, from 48 on it is drawn in full. Round things of sixteen sides stay without.
constexpr float kCrease = 0.40F, kSharpCrease = 0.81F;
// How deep a leap is, in heights of what the camera sees there.
constexpr float kLeap = 0.01F, kDeepLeap = 0.04F;
// Of what the depth changes beside a leap anyway, what doesn't count: water that is looked along is full of small
// leaps.
constexpr float kGrazing = 4.0F;

// Pixels along a row or a column around one of them; beyond the picture's edge its last pixel goes on.
class Across {
 public:
  Across(const image::Image& picture, int x, int y, bool down)
      : here_(picture.pixel<float>(x, y)),
        step_(static_cast<std::ptrdiff_t>(picture.channels()) * (down ? picture.width() : 1)),
        before_(down ? y : x),
        behind_((down ? picture.height() : picture.width()) - 1 - before_) {}

  const float* at(int offset) const { return &here_[std::ptrdiff_t{std::clamp(offset, -before_, behind_)} * step_]; }

 private:
  const float* here_;
  std::ptrdiff_t step_;
  int before_, behind_;
};

// How much of a pixel's first two ranks another one has as well.
float shared(const float* ranks, const float* others) {
  float sum = 0.0F;
  for (const int rank : {0, 2}) {
    for (const int other : {0, 2}) {
      if (ranks[rank + 1] > 0.0F && ranks[rank] == others[other]) sum += std::min(ranks[rank + 1], others[other + 1]);
    }
  }
  return sum;
}

// The share of one pixel whose object is another one, or none, in the other pixel.
float difference(const float* ranks, const float* others) {
  if (ranks[0] == others[0] && ranks[1] == 1.0F && others[1] == 1.0F) return 0.0F;  // as of most pixels
  const float background = std::max(0.0F, 1.0F - ranks[1] - ranks[3]);
  const float otherBackground = std::max(0.0F, 1.0F - others[1] - others[3]);
  return std::max(0.0F, 1.0F - shared(ranks, others) - std::min(background, otherBackground));
}

// How much of a step of a value lies between a pixel's neighbours, when the value changes evenly on both sides of it:
// 0 to 1; `size` of the step goes from `least`, where it counts for nothing, to `full`.
float stepBetween(float near, float wide, float outside, float least, float full) {
  if (wide <= least) return 0.0F;
  return glm::smoothstep(least, full, wide) * std::clamp((near - outside) / wide, 0.0F, 1.0F);
}

float creaseAt(const Across& shape) {
  const auto normal = [&](int offset) {
    const float* at = shape.at(offset);
    return glm::vec3(at[0], at[1], at[2]);
  };
  const glm::vec3 apart = normal(2) - normal(-2);
  const float squared = glm::dot(apart, apart);
  if (squared <= kCrease * kCrease) return 0.0F;
  const float wide = std::sqrt(squared);
  const float outside = glm::distance(normal(-3), normal(-2)) + glm::distance(normal(2), normal(3));
  return stepBetween(glm::distance(normal(-1), normal(1)), wide, outside, kCrease, kSharpCrease);
}

float leapAt(const Across& shape, float unit) {
  const auto depth = [&](int offset) { return shape.at(offset)[3]; };
  if (std::abs(depth(-2) - depth(2)) <= kLeap * unit) return 0.0F;
  const float outside = std::abs(depth(-3) - depth(-2)) + std::abs(depth(2) - depth(3));
  const float wide = std::abs(depth(-2) - depth(2)) - kGrazing * outside;
  if (wide <= kLeap * unit) return 0.0F;
  return stepBetween(std::abs(depth(-1) - depth(1)), wide, outside, kLeap * unit, kDeepLeap * unit);
}

// Of the two axes, as of the slope of a plane.
float length(float across, float down) {
  return std::min(1.0F, std::sqrt(across * across + down * down));
}

// Whether neither axis shows anything of a line at a pixel, as in most of a picture: the same bounds, looked at
// all at once.
class EvenPixels {
 public:
  EvenPixels(const image::Image& objects, const image::Image& shape) : objects_(objects), shape_(shape) {}

  bool at(int x, int y, float leastLeap) const {
    if (x < kReach || y < kReach || x >= shape_.width() - kReach || y >= shape_.height() - kReach) return false;
    const float* const ranks = objects_.pixel<float>(x, y);
    const float* const shape = shape_.pixel<float>(x, y);
    const std::ptrdiff_t pixel = 4, row = pixel * shape_.width();
    return sameObject(ranks - pixel, ranks + pixel) && sameObject(ranks - row, ranks + row) &&
           sameShape(shape - 2 * pixel, shape + 2 * pixel, leastLeap) &&
           sameShape(shape - 2 * row, shape + 2 * row, leastLeap);
  }

 private:
  static constexpr int kReach = 3;  // pixels

  static bool sameObject(const float* a, const float* b) {
    return a[0] == b[0] && a[1] == b[1] && (a[1] == 1.0F || a[1] == 0.0F);
  }
  static bool sameShape(const float* a, const float* b, float leastLeap) {
    const Four apart = fourAt(a) - fourAt(b), squared = apart * apart;
    return squared[0] + squared[1] + squared[2] <= kCrease * kCrease && squared[3] <= leastLeap * leastLeap;
  }
  static Four fourAt(const float* values) {
    Four result;
    std::memcpy(&result, values, sizeof result);
    return result;
  }

  const image::Image &objects_, &shape_;
};

// How much of a line there is in a pixel. `height` is what the camera sees at a depth of 1 m, or at any, in metres.
float lineAt(const image::Image& objects, const image::Image& ground, bool orthographic, float height, int x, int y) {
  std::array<float, 2> border{}, crease{}, leap{};
  for (const std::size_t axis : {0U, 1U}) {
    const Across ranks(objects, x, y, axis == 1), shape(ground, x, y, axis == 1);
    const float depth = shape.at(0)[3];
    border[axis] = difference(ranks.at(-1), ranks.at(1));
    crease[axis] = creaseAt(shape);
    leap[axis] = depth > 0.0F ? leapAt(shape, orthographic ? height : depth * height) : 0.0F;
  }
  return std::max({length(border[0], border[1]), length(crease[0], crease[1]), length(leap[0], leap[1])});
}

}  // namespace

Outcome drawLines(const std::vector<image::Image>& objects, const LineGround& ground, const scene::Camera& camera,
                  int threads, const std::function<bool()>& stop, image::Image& lines) {
  const float height = camera.orthographic ? 2.0F * camera.ymag : 2.0F * std::tan(0.5F * camera.yfov);
  const EvenPixels even(objects.front(), ground.shape);
  return forEach(lines.height(), threads, stop, [&](int y) {
    const float* shape = ground.shape.row<float>(y);
    float* const to = lines.row<float>(y);
    for (int x = 0; x < lines.width(); ++x, shape += 4) {
      const float leastLeap = kLeap * (camera.orthographic ? height : shape[3] * height);
      to[x] =
          even.at(x, y, leastLeap) ? 0.0F : lineAt(objects.front(), ground.shape, camera.orthographic, height, x, y);
    }
  });
}

}  // namespace quillmere::render
