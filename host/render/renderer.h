#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/error.h"
#include "image/image.h"
#include "passes.h"
#include "scene/scene.h"
#include "settings.h"

namespace quillmere::render {

class RayScene;

// Asked between tiles, from any thread; true stops the drawing.
using StopTest = std::function<bool()>;

// Whether materials that are single-sided are seen from their front only. Lit ones may be shown from both sides.
enum class Sides { AsMaterialsSay, Both };

// Ray-traced pictures of a scene's snapshots through any camera, on all cores. Acceleration structures of geometry that
// does not deform are kept from one snapshot to the next. One thread at a time.
class Renderer {
 public:
  // Throws Error when this machine can't trace rays.
  explicit Renderer(const std::shared_ptr<const scene::Scene>& scene, Sides sides = Sides::AsMaterialsSay);
  ~Renderer();
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  // Takes the scene's snapshot at `seconds`; the same time again costs nothing. Before the first pose there is nothing
  // to see and the snapshot is empty. Throws Error.
  void pose(double seconds);
  const scene::Snapshot& snapshot() const;

  // As an interactive viewport would show it: base colour, headlight, hemispheric ambient, 4x anti-aliasing.
  // Byte RGB. Empty when stopped. Throws Error.
  image::Image drawQuick(const scene::Camera& camera, int width, int height, const StopTest& stop = {});

  // With the scene's lights, or a default sun and sky when it has none: soft shadows, light that bounces once. The
  // exposure is the same at all times of the scene.
  // Float RGB, display-referred (through the view transform and sRGB-encoded), 0-1. Empty when stopped. Throws Error.
  image::Image drawFinal(const scene::Camera& camera, int width, int height, const FinalSettings& settings = {},
                         const StopTest& stop = {});

  // What can be seen beside the picture, from its own samples: see Passes. None when stopped. Throws Error.
  std::optional<Passes> drawPasses(const scene::Camera& camera, int width, int height, const PassRequest& request,
                                   const StopTest& stop = {});

  // The least and the largest depth of what is seen now through a picture of this shape, but for skies; looked at with
  // some ten thousand rays. None when nothing is seen. Throws Error.
  std::optional<DepthRange> seenDepths(const scene::Camera& camera, double widthToHeight);

 private:
  float exposure();

  std::unique_ptr<RayScene> scene_;
  std::vector<std::uint32_t> objectIds_, materialIds_;  // for mattes, parallel to the scene's lists

  double duration_;
  std::optional<double> seconds_;  // of the snapshot; none before the first pose
  std::optional<float> exposure_;  // of the scene's lights, once it was asked for
};

}  // namespace quillmere::render
