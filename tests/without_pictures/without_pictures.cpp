#include <fstream>

#include "image/file_formats.h"
#include "module/still_scene.h"
#include "render/stage.h"

// What the host's API needs of pictures, where their libraries aren't: no picture can be read, those written are empty
// files, every scene is the same still one, and all that is drawn is black.
namespace quillmere {

namespace image {

Image read(const std::filesystem::path& file) {
  throw Error("cannot read '" + file.string() + "': this host was built without picture files; use the whole one");
}

void writePng(const std::filesystem::path& file, const Image&, PngDepth, const PngText&) {
  if (!std::ofstream(file)) throw Error("cannot write '" + file.string() + "': it can't be opened; name another file");
}

}  // namespace image

std::shared_ptr<const scene::Scene> scene::load(const std::filesystem::path&) {
  return std::make_shared<StillScene>();
}

namespace render {

struct Stage::Parts {
  const scene::Moment moment;
};

Stage::Stage(std::shared_ptr<const scene::Scene> scene) : parts_(new Parts{scene->at(0)}) {}
Stage::~Stage() = default;
void Stage::pose(double) {}
const scene::Moment& Stage::moment() const {
  return parts_->moment;
}

image::Image Stage::drawQuick(const scene::Viewpoint&, int width, int height, const StopTest&) {
  return {width, height, 3, image::Sample::Byte};
}

image::Image Stage::drawFinal(const scene::Viewpoint&, int width, int height, const FinalSettings&, const StopTest&) {
  return {width, height, 3, image::Sample::Float};
}

}  // namespace render

}  // namespace quillmere
