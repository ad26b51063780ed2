#pragma once

#include <array>
#include <cstdint>
#include <glm/glm.hpp>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "layer_loop.h"
#include "line_strips.h"
#include "matte_sum.h"
#include "passes.h"
#include "shaders.h"

namespace quillmere::render {

enum class Mattes { No, Yes };

// Of the scene's objects and materials, parallel to its lists.
struct PassIds {
  const std::vector<std::uint32_t>&objects, &materials;
};

// What a PassShader writes to; the planes must be there.
struct PassTarget {
  Passes& passes;
  LineStrips* lines;         // null: no lines
  const QuickShader* quick;  // null: no such picture, and no colour
};

// Draws passes, and the quick picture beside them where there is a shader for it.
template <Mattes kMattes>
class PassShader {
 public:
  struct NoMattes {};
  struct BothMattes {
    MatteSum objects, materials;
  };
  // Of what the samples see, see Passes.
  struct Seen {
    // Without it a fresh one would be filled with zeros first, mattes and all.
    Seen() {}  // NOLINT(modernize-use-equals-default)

    glm::vec3 albedo{0.0F}, normal{0.0F}, position{0.0F};
    float alpha = 0.0F, samples = 0.0F, tone = 0.0F, evenDepth = 0.0F;
    float nearest = std::numeric_limits<float>::infinity();
    std::conditional_t<kMattes == Mattes::Yes, BothMattes, NoMattes> mattes;
  };
  // Most pixels of a grid are stored without one being filled, which is why making one must not cost much.
  struct Sum {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the optional's value is nobody's before it is there
    Sum() {}

    QuickShader::Sum quick;
    std::optional<Seen> seen;
    bool isStored = false;  // whether all of the pixel is
  };

  // All that the arguments refer to must outlive this.
  PassShader(const PictureRequest& picture, const PassRequest& request, PassIds ids, PassTarget target);
  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const;
  void store(const Sum& sum, float samples, int x, int y) const;
  bool takesFour(const ShadingMaterial& material) const { return quick_ == nullptr || quick_->takesFour(material); }
  void storeFour(const FourPixels& pixels) const;
  void begin(const Tile& tile) const {
    if (lines_ != nullptr) lines_->begin(tile);
  }
  void end(const Tile& tile) const {
    if (lines_ != nullptr) lines_->end(tile);
  }

 private:
  // Of the rays of a layer: their tones and depths, as far as anybody wants them.
  struct Depths {
    PerRay<float> tones, even;
  };
  // Of a pixel that shows one opaque point.
  struct Shown {
    glm::vec3 light, color, normal;
    std::uint32_t instance;
  };
  // Of an instance.
  struct Ids {
    std::uint32_t object, material;
    bool sky;
  };
  Depths depthsOf(const RayPacket& rays) const;
  RaySet seenIn(const Layer& layer) const;
  void addSeen(const Layer& layer, RaySet rays, const Depths& depths, Seen& seen) const;
  void addNearest(const Layer& layer, RaySet rays, Seen& seen) const;
  void addPoint(const Layer& layer, int at, Seen& seen) const;
  void storeWhole(const Shown& shown, const RayPacket& rays, int at, const Depths& depths, glm::ivec2 place) const;
  void storeFourLines(const FourPixels& pixels, const PerRay<float>& evenDepths) const;
  void storeNearest(const RayPacket& rays, int at, bool sky, std::ptrdiff_t pixel) const;
  void putLine(const Sum& sum, float samples, int x, int y) const;
  void storeNothing(std::ptrdiff_t pixel) const;

  const RayScene& scene_;
  std::vector<Ids> ids_;  // of each instance
  const QuickShader* quick_;
  LineStrips* lines_;
  int width_;
  Plane color_, depth_, tone_, normal_, position_, albedo_;
  std::vector<Plane> objects_, materials_;
  glm::mat3 toCamera_;
  float toneScale_, toneOffset_;  // of 1 / depth, or of depth
  bool inverse_, orthographic_;
  bool looksAtSurfaces_;  // whether anybody wants to know what a sample sees first
  bool linesAlone_;       // whether nobody wants anything else of what passes hold beside the quick picture
  bool toTheEnd_;         // whether what lies behind the surfaces that are seen counts, too
};

}  // namespace quillmere::render
