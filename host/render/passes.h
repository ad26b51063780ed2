#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "image/cryptomatte.h"
#include "image/image.h"
#include "scene/scene.h"
#include "settings.h"

// What can be drawn of a scene beside its picture, from the same rays.
namespace quillmere::render {

enum class Pass : unsigned {
  Picture = 1,
  Color = 2,
  Depth = 4,
  Normal = 8,
  Position = 16,
  Object = 32,
  Material = 64,
  Albedo = 128,
  Lines = 256
};

class PassSet {
 public:
  PassSet() = default;
  PassSet(std::initializer_list<Pass> passes) {
    for (const Pass pass : passes) add(pass);
  }
  void add(Pass pass) { bits_ |= static_cast<unsigned>(pass); }
  bool has(Pass pass) const { return (bits_ & static_cast<unsigned>(pass)) != 0; }
  bool empty() const { return bits_ == 0; }

 private:
  unsigned bits_ = 0;
};

// Of depths along the view axis in metres, far above near above 0.
struct DepthRange {
  float near = 1.0F, far = 100.0F;
};

// Depth as a grey: 1 at the near end of the range, 0 at the far one and on the background.
struct DepthTone {
  // Inverse: even in 1 / depth, as stereo and the estimators that learned from it see it. Linear: even in depth.
  enum class Kind { Inverse, Linear } kind = Kind::Inverse;
  DepthRange range;
};

struct PassRequest {
  PassSet passes;
  DepthTone tone;
  // From the samples of the final picture with these settings; none: from those of the quick one. A final picture is
  // Renderer::drawFinal's to draw: of the picture and the colour there is the alpha alone.
  std::optional<FinalSettings> finalSamples;
  int matteLayers = image::kMatteLayers;  // of objects and of materials each, 1 to kMatteLayers: two ranks in each
};

// The planes of the passes that were asked for, all of one size; the others are empty. A sample of a pixel sees the
// surface that stops the half of it: glass that lets most light through has no depth, normal or position, and neither
// has a sky that encloses the scene. The share of a pixel's samples that see any is its coverage.
struct Passes {
  image::Image picture;   // Byte RGB: the quick picture, as Renderer::drawQuick draws it
  image::Image color;     // Float RGBA: light of the display, multiplied with alpha, of the quick picture's surfaces
  image::Image depth;     // Float: metres along the view axis to the nearest of the surfaces seen; infinite for none
  image::Image tone;      // Float: the mean of the samples' tones
  image::Image normal;    // Float RGBA: the mean direction in the camera's space (x right, y up, z to the viewer), of
                          // unit length or 0, and the coverage
  image::Image position;  // Float RGB: where the nearest of them is in the world; 0 for none
  image::Image albedo;    // Float RGBA: light of the surfaces' own colours, multiplied with alpha
  // Float RGBA: ids by falling coverage, as floats bit for bit, each before its coverage (image/cryptomatte.h).
  std::vector<image::Image> objects, materials;
  image::Image lines;  // Float: 1 on silhouettes, borders of objects and creases, about two pixels wide
};

// What each of the scene's materials is called, parallel to its list; those of one name are one matte.
std::vector<std::string> materialNames(const scene::Scene& scene);

// The id of the object, or of the material, that covers most of a pixel; 0 where that is the background.
std::uint32_t foremostId(const std::vector<image::Image>& mattes, int x, int y);

// How much of each pixel it covers: Float.
image::Image coverageOf(const std::vector<image::Image>& mattes, std::uint32_t id);

}  // namespace quillmere::render
