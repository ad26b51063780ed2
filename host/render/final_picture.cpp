#include "final_picture.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "camera.h"
#include "color_encoding.h"
#include "illumination.h"
#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr int kTile = 16;
constexpr int kBlock = 4;    // pixels each way that are traced together, one per ray
constexpr int kLayers = 16;  // of see-through surfaces; the last one counts as opaque
constexpr float kSpent = 1.0F / 512.0F;
static_assert(kBlock * kBlock == RayPacket::kRays && kTile % kBlock == 0);

// What a pixel has gathered. Lit surfaces and those in colours of their own are kept apart, as only the former go
// through the film curve; the two mix as light of the display, which also keeps bright edges smooth.
struct Gathered {
  glm::vec3 radiance{0.0F};
  float lit = 0.0F;  // share of what was seen that radiance stands for
  glm::vec3 own{0.0F};

  glm::vec3 displayed(int samples) const {
    const glm::vec3 exposed = lit > 0.0F ? lit * filmic(radiance / lit) : glm::vec3(0.0F);
    return (exposed + own) / static_cast<float>(samples);
  }
};

struct Block {
  int left, top;
  RayPacket::PerRay<Gathered> pixels;
  RayPacket::PerRay<std::uint32_t> seeds;
};

class FinalPainter {
 public:
  FinalPainter(const PictureRequest& request, const FinalSettings& settings, image::Image& picture)
      : request_(request),
        samples_(std::max(1, settings.samples)),
        seed_(mixed(settings.seed)),
        picture_(picture),
        camera_(request.view, request.width, request.height),
        lighting_(request.scene),
        illumination_(request.scene, lighting_) {}

  void paint(Tile tile) const {
    for (int y = tile.top; y < tile.bottom; y += kBlock) {
      for (int x = tile.left; x < tile.right; x += kBlock) paintBlock(x, y);
    }
  }

 private:
  bool isInside(int x, int y) const { return x < request_.width && y < request_.height; }

  void paintBlock(int left, int top) const {
    Block block{left, top, {}, {}};
    for (int ray = 0; ray < RayPacket::kRays; ++ray) {
      const auto x = static_cast<std::uint32_t>(left + ray % kBlock),
                 y = static_cast<std::uint32_t>(top + ray / kBlock);
      block.seeds[static_cast<std::size_t>(ray)] = mixed(seed_ ^ mixed(x ^ mixed(y)));
    }
    for (int sample = 0; sample < samples_; ++sample) addSample(block, static_cast<std::uint32_t>(sample));
    store(block);
  }

  void addSample(Block& block, std::uint32_t sample) const {
    RayPacket rays;
    arm(rays, block, sample);
    RayPacket::PerRay<float> remaining;
    remaining.fill(1.0F);
    for (int layer = 0; layer < kLayers && rays.anyArmed(); ++layer) {
      rays.findNearest(request_.scene.visible(), {request_.scene, Blending::Layered, Bundle::Coherent});
      Points points;
      const RaySet lit = addOwnColors(rays, layer == kLayers - 1, block, remaining, points);
      const Light16 received = illumination_.at(points, lit, sample, block.seeds);
      for (int ray = 0; ray < RayPacket::kRays; ++ray) {
        if (rays.isArmed(ray)) goOn(rays, ray, points, (lit >> ray & 1U) != 0, received, block, remaining);
      }
    }
  }

  void arm(RayPacket& rays, const Block& block, std::uint32_t sample) const {
    for (int ray = 0; ray < RayPacket::kRays; ++ray) {
      const int x = block.left + ray % kBlock, y = block.top + ray / kBlock;
      if (!isInside(x, y)) continue;
      const glm::vec2 place = glm::vec2(x, y) + samplePoint(sample, block.seeds[static_cast<std::size_t>(ray)]);
      const Ray seen = camera_.through(place.x, place.y);
      rays.arm(ray, seen.origin, seen.direction, camera_.nearest(), camera_.farthest(), 0);
    }
  }

  // Adds what needs no light (backdrop and unlit surfaces) and returns the rays that met lit surfaces. Rays that met
  // nothing are done.
  RaySet addOwnColors(RayPacket& rays, bool last, Block& block, RayPacket::PerRay<float>& remaining,
                      Points& points) const {
    RaySet lit = 0;
    for (int ray = 0; ray < RayPacket::kRays; ++ray) {
      if (!rays.isArmed(ray)) continue;
      const auto i = static_cast<std::size_t>(ray);
      if (!rays.found(ray)) {
        block.pixels[i].own += remaining[i] * lighting_.sky().backdrop(glm::normalize(rays.direction(ray)));
        rays.rest(ray);
        continue;
      }
      const Hit hit = rays.hit(ray);
      points[i] = surfacePoint(request_.scene, hit, rays.direction(ray), 0.5F * camera_.pixelHeight(hit.distance));
      if (last) points[i].color.a = 1.0F;
      if (!points[i].unlit) lit |= RaySet{1} << ray;
    }
    return lit;
  }

  // Adds the surface that a ray met, and sends the ray on when the surface lets something through.
  void goOn(RayPacket& rays, int ray, const Points& points, bool lit, const Light16& received, Block& block,
            RayPacket::PerRay<float>& remaining) const {
    const auto i = static_cast<std::size_t>(ray);
    const glm::vec4 color = points[i].color;
    const float share = remaining[i] * color.a;
    if (lit) {
      block.pixels[i].radiance += share * glm::vec3(color) * received[i];
      block.pixels[i].lit += share;
    } else {
      block.pixels[i].own += share * glm::vec3(color);
    }
    remaining[i] *= 1.0F - color.a;
    if (remaining[i] > kSpent) {
      rays.rearmBehind(ray, rays.hit(ray).distance, camera_.farthest());
    } else {
      rays.rest(ray);
    }
  }

  void store(const Block& block) const {
    for (int ray = 0; ray < RayPacket::kRays; ++ray) {
      const int x = block.left + ray % kBlock, y = block.top + ray / kBlock;
      if (!isInside(x, y)) continue;
      const glm::vec3 light = block.pixels[static_cast<std::size_t>(ray)].displayed(samples_);
      float* rgb = picture_.row<float>(y) + std::ptrdiff_t{3} * x;
      for (int c = 0; c < 3; ++c) rgb[c] = stored(light[c]);
    }
  }

  const PictureRequest& request_;
  int samples_;
  std::uint32_t seed_;
  image::Image& picture_;
  Camera camera_;
  Lighting lighting_;
  Illumination illumination_;
};

}  // namespace

image::Image finalPicture(const PictureRequest& request, const FinalSettings& settings) {
  image::Image picture = blankPicture(request, image::Sample::Float);
  const FinalPainter painter(request, settings, picture);
  const Outcome outcome = drawTiles(request, kTile, [&](Tile tile) { painter.paint(tile); });
  return outcome == Outcome::Complete ? std::move(picture) : image::Image();
}

}  // namespace quillmere::render
