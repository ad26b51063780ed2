#pragma once

#include <cstdint>
#include <glm/glm.hpp>
#include <memory>
#include <optional>

#include "image/image.h"

namespace quillmere::render {

// Which lights shine in a final picture.
enum class Lighting {
  Default,  // the scene's or, when it has none, a sun; and the sky
  Scene,    // the scene's alone: no sun, no sky
  None      // neither lamps nor sun: the sky alone
};          // What the scene itself emits and a panorama shine in any case.

struct FinalSettings {
  int samples = 16;        // per pixel, at least 1
  std::uint32_t seed = 1;  // the same seed, scene and size give the same picture, whatever the number of threads
  float exposure = 0.0F;   // stops brighter than the scene's lights ask for
  Lighting light = Lighting::Default;
  std::optional<glm::vec3> background = {};                // light of the display in place of the sky that is seen
  std::shared_ptr<const image::Image> panorama = nullptr;  // in place of the sky: Float RGB(A), linear, twice as wide
                                                           // as high, its middle towards -Z; lights the scene as well
};

}  // namespace quillmere::render
