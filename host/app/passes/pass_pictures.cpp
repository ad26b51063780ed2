#include "pass_pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <glm/glm.hpp>
#include <set>

#include "image/conversion.h"
#include "image/cryptomatte.h"
#include "render/color_encoding.h"

namespace quillmere::app {
namespace {

// A Word RGB picture of a plane: colorOf(first sample of a pixel) gives each pixel's values, 0-1.
template <class ColorOf>
image::Image pictureOf(const image::Image& plane, const ColorOf& colorOf) {
  image::Image picture(plane.width(), plane.height(), 3, image::Sample::Word);
  for (int y = 0; y < plane.height(); ++y) {
    const float* from = plane.row<float>(y);
    std::uint16_t* to = picture.row<std::uint16_t>(y);
    for (int x = 0; x < plane.width(); ++x, from += plane.channels(), to += 3) {
      const glm::vec3 color = colorOf(from);
      for (int c = 0; c < 3; ++c) to[c] = image::sampleAs<std::uint16_t>(color[c]);
    }
  }
  return picture;
}

image::Image greyPicture(const image::Image& plane) {
  return pictureOf(plane, [](const float* value) { return glm::vec3(*value); });
}

// Bright enough to be told from black, and of any hue.
std::uint32_t colorFrom(std::uint32_t number) {
  const float hue = static_cast<float>(number & 0xFFFFU) / 65536.0F * 6.0F;
  const float saturation = 0.45F + 0.4F * static_cast<float>(number >> 16U & 0xFFU) / 255.0F;
  const float value = 0.55F + 0.4F * static_cast<float>(number >> 24U) / 255.0F;
  std::uint32_t rgb = 0;
  for (const float offset : {5.0F, 3.0F, 1.0F}) {
    const float k = std::fmod(offset + hue, 6.0F);
    const float share = value - value * saturation * std::clamp(std::min(k, 4.0F - k), 0.0F, 1.0F);
    rgb = rgb << 8U | image::sampleAs<std::uint8_t>(share);
  }
  return rgb;
}

std::uint32_t stirred(std::uint32_t number) {
  return (number ^ number >> 15U) * 0x2c1b3c6dU + 1U;
}

std::string digitsOf(std::uint32_t color) {
  std::array<char, 7> digits{};
  std::snprintf(digits.data(), digits.size(), "%06x", color & 0xFFFFFFU);
  return digits.data();
}

}  // namespace

SceneNames::SceneNames(const scene::Scene& scene) : objects(scene.objects()) {
  std::set<std::string> known;
  for (const std::string& name : render::materialNames(scene)) {
    if (known.insert(name).second) materials.push_back(name);
  }
}

NameColors::NameColors(const std::vector<std::string>& names) {
  std::set<std::uint32_t> taken;
  for (const std::string& name : names) {
    const std::uint32_t id = image::matteId(name);
    std::uint32_t number = stirred(id), color = colorFrom(number);
    while (!taken.insert(color).second) color = colorFrom(number = stirred(number));
    byId_.try_emplace(id, Named{color, name});
  }
}

std::uint32_t NameColors::colorOf(std::uint32_t id) const {
  const auto found = byId_.find(id);
  return found == byId_.end() ? 0 : found->second.color;
}

image::Image NameColors::picture(const std::vector<image::Image>& mattes) const {
  image::Image picture(mattes.front().width(), mattes.front().height(), 3, image::Sample::Byte);
  for (int y = 0; y < picture.height(); ++y) {
    std::uint8_t* rgb = picture.row<std::uint8_t>(y);
    for (int x = 0; x < picture.width(); ++x) {
      const std::uint32_t color = colorOf(render::foremostId(mattes, x, y));
      for (const unsigned shift : {16U, 8U, 0U}) *rgb++ = static_cast<std::uint8_t>(color >> shift);
    }
  }
  return picture;
}

Json NameColors::namesIn(const std::vector<image::Image>& mattes) const {
  std::set<std::uint32_t> ids;
  for (int y = 0; y < mattes.front().height(); ++y) {
    for (int x = 0; x < mattes.front().width(); ++x) ids.insert(render::foremostId(mattes, x, y));
  }
  Json names = Json::object();
  for (const std::uint32_t id : ids) {
    if (const auto found = byId_.find(id); found != byId_.end())
      names[digitsOf(found->second.color)] = found->second.name;
  }
  return names;
}

image::Image depthPicture(const render::Passes& passes) {
  return greyPicture(passes.tone);
}

image::Image normalPicture(const render::Passes& passes, NormalKind kind) {
  const glm::vec3 sense(kind == NormalKind::Bae ? -1.0F : 1.0F, kind == NormalKind::DirectX ? -1.0F : 1.0F, 1.0F);
  return pictureOf(passes.normal, [&](const float* value) {
    const glm::vec3 facing(0.0F, 0.0F, 1.0F);
    const glm::vec3 seen = sense * glm::vec3(value[0], value[1], value[2]);
    return 0.5F + 0.5F * glm::mix(facing, seen, value[3]);
  });
}

image::Image albedoPicture(const render::Passes& passes) {
  return pictureOf(passes.albedo, [](const float* light) {
    return glm::vec3(render::stored(light[0]), render::stored(light[1]), render::stored(light[2]));
  });
}

image::Image linesPicture(const render::Passes& passes, LineColor color) {
  if (color == LineColor::White) return greyPicture(passes.lines);
  return pictureOf(passes.lines, [](const float* value) { return glm::vec3(1.0F - *value); });
}

image::Image mattePicture(const std::vector<image::Image>& mattes, std::uint32_t id) {
  return greyPicture(render::coverageOf(mattes, id));
}

}  // namespace quillmere::app
