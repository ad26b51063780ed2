#include <algorithm>
#include <fstream>

#include "base/parallel.h"
#include "image/file_formats.h"
#include "module/still_scene.h"
#include "render/renderer.h"

// What the host's API needs of pictures, where their libraries aren't: no picture can be read, those written are empty
// files, every scene is the same still one, and all that is drawn is grey. Loops have one thread: the library of
// theirs isn't there, either.
namespace quillmere {

Outcome forEach(int count, int /*threads*/, const std::function<bool()>& stop, const std::function<void(int)>& work) {
  for (int i = 0; i < count; ++i) {
    if (stop && stop()) return Outcome::Stopped;
    work(i);
  }
  return Outcome::Complete;
}

int allCores() {
  return 1;
}

namespace image {

Image read(const std::filesystem::path& file) {
  throw Error("cannot read '" + file.string() + "': this host was built without picture files; use the whole one");
}

void writePng(const std::filesystem::path& file, const Image&, PngDepth, const PngText&) {
  if (!std::ofstream(file)) throw Error("cannot write '" + file.string() + "': it can't be opened; name another file");
}

}  // namespace image

std::shared_ptr<const scene::Scene> scene::load(const std::filesystem::path&, const scene::LoadSettings&) {
  return std::make_shared<StillScene>();
}

namespace render {

class RayScene {
 public:
  const scene::Snapshot snapshot;
};

Renderer::Renderer(const std::shared_ptr<const scene::Scene>& scene, Sides) : scene_(new RayScene{scene->at(0)}) {}
Renderer::~Renderer() = default;
void Renderer::pose(double) {}
const scene::Snapshot& Renderer::snapshot() const {
  return scene_->snapshot;
}

image::Image Renderer::drawQuick(const scene::Camera&, int width, int height, const StopTest&) {
  image::Image drawn(width, height, 3, image::Sample::Byte);
  for (int y = 0; y < height; ++y) std::fill_n(drawn.row<std::uint8_t>(y), 3 * width, std::uint8_t{128});
  return drawn;
}

image::Image Renderer::drawFinal(const scene::Camera&, int width, int height, const FinalSettings&, const StopTest&) {
  image::Image drawn(width, height, 3, image::Sample::Float);
  for (int y = 0; y < height; ++y) std::fill_n(drawn.row<float>(y), 3 * width, 0.5F);
  return drawn;
}

std::optional<Passes> Renderer::drawPasses(const scene::Camera& camera, int width, int height, const PassRequest&,
                                           const StopTest& stop) {
  Passes passes;
  passes.picture = drawQuick(camera, width, height, stop);
  return passes;
}

}  // namespace render

}  // namespace quillmere
