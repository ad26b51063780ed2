#include <fstream>

#include "base/parallel.h"
#include "image/file_formats.h"
#include "module/still_scene.h"
#include "render/renderer.h"

// What the host's API needs of pictures, where their libraries aren't: no picture can be read, those written are empty
// files, every scene is the same still one, and all that is drawn is black. Loops have one thread: the library of
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

Renderer::Renderer(std::shared_ptr<const scene::Scene> scene, Sides) : scene_(new RayScene{scene->at(0)}) {}
Renderer::~Renderer() = default;
void Renderer::pose(double) {}
const scene::Snapshot& Renderer::snapshot() const {
  return scene_->snapshot;
}

image::Image Renderer::drawQuick(const scene::Camera&, int width, int height, const StopTest&) {
  return {width, height, 3, image::Sample::Byte};
}

image::Image Renderer::drawFinal(const scene::Camera&, int width, int height, const FinalSettings&, const StopTest&) {
  return {width, height, 3, image::Sample::Float};
}

}  // namespace render

}  // namespace quillmere
