#pragma once

#include <memory>
#include <optional>

#include "scene/bounds.h"
#include "scene/scene.h"

namespace quillmere::scene {

// From where a camera of this program looks at a point. The angles are in degrees: azimuth from +Z, the front of a
// model, anticlockwise as seen from above, so that 90 looks from +X; elevation -90 to 90, above the ground where
// positive.
struct View {
  float azimuth = 30.0F, elevation = 20.0F;
  std::optional<float> distance;    // metres, above 0; none: as far as the bounds need
  std::optional<glm::vec3> target;  // none: the middle of the bounds
};

// A full turn about the vertical through the target in so many seconds, beginning at second 0; 0 stands still.
struct Turntable {
  double seconds = 0.0;
};

// Full vertical angle of such a camera, in radians: that of a lens of 50 mm on the usual 36 x 24 mm.
inline constexpr float kViewAngle = 0.471F;

// The view with its distance and target filled in, so that a picture with this ratio of width to height shows all of
// the bounds with a small margin, at any angle of a turntable. Empty bounds are taken for a box of one metre around the
// origin.
View framed(View view, const Bounds& bounds, double aspect, Turntable turntable);

// The scene with one camera more, after its own: "Default", or that with ".1" … where the name is taken. `view` must
// have its distance and target.
std::shared_ptr<const Scene> withViewCamera(std::shared_ptr<const Scene> scene, const View& view, Turntable turntable);

}  // namespace quillmere::scene
