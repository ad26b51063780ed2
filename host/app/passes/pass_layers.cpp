#include "pass_layers.h"

#include <array>
#include <cmath>
#include <glm/glm.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <utility>

#include "image/conversion.h"
#include "image/cryptomatte.h"
#include "image/file_formats.h"

namespace quillmere::app {
namespace {

// What each layer holds, for who reads the header.
constexpr std::array<std::pair<const char*, const char*>, 5> kMeanings{{
    {"quillmere/Z", "metres along the view axis to the nearest surface of the pixel, infinite where there is none"},
    {"quillmere/N", "camera space, x right, y up, z to the viewer; 0 where nothing is seen"},
    {"quillmere/P", "world space, metres, y up, of the surface that Z tells of; 0 where there is none"},
    {"quillmere/albedo", "light, multiplied with alpha"},
    {"quillmere/lines", "1 on lines"},
}};

// For row vectors, which the columns of the transposed matrix are.
std::array<float, 16> rowsOf(const glm::mat4& matrix) {
  std::array<float, 16> rows{};
  std::copy_n(glm::value_ptr(matrix), rows.size(), rows.begin());
  return rows;
}

image::ExrLayers::View viewOf(const scene::Camera& camera, int width, int height) {
  const float seen = camera.orthographic ? 2.0F * camera.ymag : 2.0F * std::tan(0.5F * camera.yfov);
  const float across = seen * static_cast<float>(width) / static_cast<float>(height);
  glm::mat4 ahead(1.0F);  // the scene's cameras look along -Z
  ahead[2][2] = -1.0F;
  const glm::mat4 toCamera = ahead * glm::inverse(camera.toWorld);
  glm::mat4 toPicture(0.0F);  // by column
  toPicture[0].x = 1.0F / across;
  toPicture[1].y = -1.0F / seen;
  glm::vec4& middle = toPicture[camera.orthographic ? 3 : 2];  // which is divided by the depth, or by nothing
  middle = glm::vec4(0.5F, 0.5F, 0.0F, 1.0F);
  toPicture[camera.orthographic ? 2 : 3].z = 1.0F;
  return {rowsOf(toCamera), rowsOf(toPicture * toCamera), across};
}

// The light of a rendered guide in the place of the colour's. Where the guide alone has looked closely enough to meet
// anything, there is no coverage that light could stand on.
image::Image withLightOf(const image::Image& guide, const image::Image& color) {
  const image::Image light = image::premultipliedLight(guide);
  image::Image both = color;
  for (int y = 0; y < both.height(); ++y) {
    const float* from = light.row<float>(y);
    float* to = both.row<float>(y);
    for (int x = 0; x < both.width(); ++x, from += 3, to += 4) {
      if (to[3] > 0.0F) std::copy_n(from, 3, to);
    }
  }
  return both;
}

class LayerList {
 public:
  explicit LayerList(image::ExrLayers& layers) : layers_(layers) {}

  // One letter a channel; none for a channel that is left out.
  void add(const std::string& layer, const char* letters, const image::Image& plane) {
    if (plane.empty()) return;
    const std::string prefix = layer.empty() ? "" : layer + ".";
    for (int i = 0; letters[i] != '\0'; ++i) layers_.channels.push_back({prefix + letters[i], &plane, i});
  }
  void addMattes(const std::string& type, const std::vector<image::Image>& mattes,
                 const std::vector<std::string>& names) {
    if (mattes.empty()) return;
    for (std::size_t i = 0; i < mattes.size(); ++i) add(type + "0" + std::to_string(i), "RGBA", mattes[i]);
    for (auto& text : image::matteHeader(type, names)) layers_.texts.push_back(std::move(text));
  }

 private:
  image::ExrLayers& layers_;
};

}  // namespace

void writeLayers(const std::filesystem::path& file, const host::GuidePasses& drawn, const SceneNames& names) {
  const render::Passes& passes = drawn.passes;
  const bool rendered = drawn.guide.sample() == image::Sample::Float && !passes.color.empty();
  const image::Image color = rendered ? withLightOf(drawn.guide, passes.color) : image::Image();
  image::ExrLayers layers;
  layers.view = viewOf(drawn.camera, drawn.guide.width(), drawn.guide.height());
  LayerList list(layers);
  list.add("", "RGBA", rendered ? color : passes.color);
  list.add("", "Z", passes.depth);
  list.add("N", "XYZ", passes.normal);
  list.add("P", "XYZ", passes.position);
  list.add("albedo", "RGB", passes.albedo);
  list.add("lines", "Y", passes.lines);
  list.addMattes("CryptoObject", passes.objects, names.objects);
  list.addMattes("CryptoMaterial", passes.materials, names.materials);
  for (const auto& [key, meaning] : kMeanings) layers.texts.emplace_back(key, meaning);
  image::writeExr(file, layers);
}

}  // namespace quillmere::app
