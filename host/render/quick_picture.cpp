#include "quick_picture.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "camera.h"
#include "color_encoding.h"
#include "ray_packet.h"
#include "surface_point.h"

namespace quillmere::render {
namespace {

constexpr int kTile = 32;
constexpr int kSamples = 4;
constexpr int kPixels = RayPacket::kRays / kSamples;  // of one packet, two by two
constexpr int kLayers = 16;                           // of see-through surfaces; the last one counts as opaque
constexpr float kSpent = 1.0F / 512.0F;               // of the light behind see-through surfaces

// A rotated grid: four different columns and four different rows of the pixel.
constexpr std::array<glm::vec2, kSamples> kGrid{
    {{0.375F, 0.125F}, {0.875F, 0.375F}, {0.125F, 0.625F}, {0.625F, 0.875F}}};

class QuickPainter {
 public:
  QuickPainter(const PictureRequest& request, image::Image& picture)
      : request_(request),
        picture_(picture),
        camera_(request.view, request.width, request.height),
        headlight_(glm::normalize(camera_.backward() + 0.45F * camera_.up() - 0.3F * camera_.right())) {}

  void paint(Tile tile) {
    for (int y = tile.top; y < tile.bottom; y += 2) {
      for (int x = tile.left; x < tile.right; x += 2) paintFour(x, y);
    }
  }

 private:
  struct Sample {
    glm::vec3 light{0.0F};   // gathered so far
    float remaining = 1.0F;  // of what lies behind
  };
  using RaySet = std::uint32_t;  // one bit per ray
  using Samples = RayPacket::PerRay<Sample>;

  bool isInside(int x, int y) const { return x < request_.width && y < request_.height; }

  // The four pixels from (x, y) to the right and downwards.
  void paintFour(int x, int y) {
    RayPacket rays;
    Samples samples;
    arm(rays, x, y);
    for (int layer = 0; layer < kLayers && rays.anyArmed(); ++layer) {
      rays.findNearest(request_.scene.visible(), {request_.scene, Blending::Layered, Bundle::Coherent});
      for (int pixel = 0; pixel < kPixels; ++pixel) {
        addLayer(rays, samples, pixel, y + pixel / 2, layer == kLayers - 1);
      }
    }
    for (int pixel = 0; pixel < kPixels; ++pixel) store(samples, pixel, x + pixel % 2, y + pixel / 2);
  }

  void arm(RayPacket& rays, int x, int y) const {
    for (int ray = 0; ray < RayPacket::kRays; ++ray) {
      const int column = x + ray / kSamples % 2, row = y + ray / kSamples / 2;
      if (!isInside(column, row)) continue;
      const glm::vec2 place = glm::vec2(column, row) + kGrid[static_cast<std::size_t>(ray % kSamples)];
      const Ray seen = camera_.through(place.x, place.y);
      rays.arm(ray, seen.origin, seen.direction, camera_.nearest(), camera_.farthest(), 0);
    }
  }

  // Shades what the samples of one pixel hit; samples on the same triangle share one shading at their middle.
  void addLayer(RayPacket& rays, Samples& samples, int pixel, int row, bool last) const {
    RaySet open = 0;
    for (int ray = pixel * kSamples; ray < (pixel + 1) * kSamples; ++ray) {
      if (rays.isArmed(ray)) open |= RaySet{1} << ray;
    }
    while (open != 0) {
      const RaySet sharing = sharingWith(rays, std::countr_zero(open), open);
      open &= ~sharing;
      glm::vec4 color = shade(rays, sharing, row);
      if (last) color.a = 1.0F;
      for (RaySet rest = sharing; rest != 0; rest &= rest - 1) add(rays, samples, std::countr_zero(rest), color);
    }
  }

  // Those of the open rays that met the same triangle as `first`, or like it nothing.
  static RaySet sharingWith(const RayPacket& rays, int first, RaySet open) {
    RaySet sharing = 0;
    const Hit hit = rays.hit(first);
    for (RaySet rest = open; rest != 0; rest &= rest - 1) {
      const int ray = std::countr_zero(rest);
      const Hit other = rays.hit(ray);
      const bool alike = other.instance == hit.instance && other.point.triangle == hit.point.triangle;
      if (rays.found(ray) == rays.found(first) && (alike || !rays.found(first))) sharing |= RaySet{1} << ray;
    }
    return sharing;
  }

  glm::vec4 shade(const RayPacket& rays, RaySet sharing, int row) const {
    const int first = std::countr_zero(sharing);
    if (!rays.found(first)) return {background(row), 1.0F};
    Hit middle = rays.hit(first);
    glm::vec2 weights(0.0F);
    for (RaySet rest = sharing; rest != 0; rest &= rest - 1) {
      const TrianglePoint point = rays.hit(std::countr_zero(rest)).point;
      weights += glm::vec2(point.u, point.v);
    }
    weights /= static_cast<float>(std::popcount(sharing));
    middle.point.u = weights.x;
    middle.point.v = weights.y;
    const SurfacePoint point =
        surfacePoint(request_.scene, middle, rays.direction(first), camera_.pixelHeight(middle.distance));
    if (point.unlit) return point.color;
    return {glm::vec3(point.color) * lightOn(point.normal), point.color.a};
  }

  glm::vec3 lightOn(glm::vec3 normal) const {
    constexpr glm::vec3 kAbove(0.40F, 0.42F, 0.45F), kBelow(0.17F, 0.165F, 0.16F);
    constexpr float kHeadlight = 0.62F;
    const float facing = std::max(0.0F, glm::dot(normal, headlight_));
    return glm::mix(kBelow, kAbove, 0.5F + 0.5F * normal.y) + kHeadlight * facing;
  }

  glm::vec3 background(int row) const {
    constexpr float kTop = 0.105F, kBottom = 0.30F;  // light, not stored values
    return glm::vec3(glm::mix(kTop, kBottom, (static_cast<float>(row) + 0.5F) / static_cast<float>(request_.height)));
  }

  void add(RayPacket& rays, Samples& samples, int ray, glm::vec4 color) const {
    Sample& sample = samples[static_cast<std::size_t>(ray)];
    sample.light += sample.remaining * color.a * glm::vec3(color);
    sample.remaining *= 1.0F - color.a;
    if (sample.remaining > kSpent) {
      rays.rearmBehind(ray, rays.hit(ray).distance, camera_.farthest());
    } else {
      rays.rest(ray);
    }
  }

  void store(const Samples& samples, int pixel, int x, int y) const {
    if (!isInside(x, y)) return;
    glm::vec3 light(0.0F);
    for (std::size_t i = 0; i < kSamples; ++i) light += samples[static_cast<std::size_t>(pixel) * kSamples + i].light;
    std::uint8_t* rgb = picture_.row<std::uint8_t>(y) + std::ptrdiff_t{3} * x;
    for (int c = 0; c < 3; ++c) rgb[c] = storedByte(light[c] * (1.0F / kSamples));
  }

  const PictureRequest& request_;
  image::Image& picture_;
  Camera camera_;
  glm::vec3 headlight_;  // towards it: over the left shoulder, so that faces at different angles differ
};

}  // namespace

image::Image quickPicture(const PictureRequest& request) {
  image::Image picture = blankPicture(request, image::Sample::Byte);
  QuickPainter painter(request, picture);
  const Outcome outcome = drawTiles(request, kTile, [&](Tile tile) { painter.paint(tile); });
  return outcome == Outcome::Complete ? std::move(picture) : image::Image();
}

}  // namespace quillmere::render
