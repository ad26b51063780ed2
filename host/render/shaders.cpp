#include "shaders.h"

#include <algorithm>
#include <cmath>

#include "color_encoding.h"
#include "reflection.h"

namespace quillmere::render {
namespace {

// Whether light is to be estimated at a point.
bool isLit(const RayScene& scene, const SurfacePoints& points, int at) {
  return !points.isUnlit(at) && !scene.instances()[points.instance[at]].sky;
}

float luminance(glm::vec3 color) {
  return glm::dot(color, glm::vec3(0.2126F, 0.7152F, 0.0722F));
}

// Near what the display's values are, of a light without hue.
float shown(glm::vec3 light) {
  return std::sqrt(std::min(1.0F, std::max(0.0F, luminance(light))));
}

// How bright a surface shows under light that comes mostly from one side.
float underEvenLight(const SurfacePoints& points, int at) {
  constexpr glm::vec3 kSide(0.27F, 0.36F, 0.22F);
  return shown((0.5F + glm::dot(points.normal[at], kSide)) * points.color[at] + points.emission[at]);
}

// As much of a light as the display can show, in its own hue.
glm::vec3 displayed(glm::vec3 light) {
  return light / std::max({1.0F, light.x, light.y, light.z});
}

// What a lit point brings to its fragment, but for light.
void cover(const Layer& layer, int at, LitFragment& fragment) {
  const float weight = layer.weightAt[at];
  fragment.weight += weight;
  fragment.albedo += weight * Reflections::chalk(layer.surface, at);
  fragment.normal += weight * layer.surface.normal[at];
  fragment.position += weight * layer.surface.position[at];
  fragment.depth += weight * layer.rays.hit(at).distance;
}

void addLamps(const Layer& layer, int at, const SentLight& sent, LitFragment& fragment) {
  const float weight = layer.weightAt[at];
  const glm::vec3 albedo = weight * Reflections::chalk(layer.surface, at);
  fragment.chalk.add(albedo * sent.chalk[at], albedo);
  fragment.chalkLight.add(luminance(sent.chalk[at]), weight, (layer.later & setOf(at)) != 0);
  fragment.coat += weight * sent.coat[at];
}

void addAround(const Layer& layer, int at, const SentLight& sent, LitFragment& fragment) {
  const float weight = layer.weightAt[at];
  const glm::vec3 albedo = weight * Reflections::chalk(layer.surface, at);
  fragment.around.add(albedo * sent.around[at], albedo);
  fragment.mirror.add(weight * sent.mirror[at], weight * sent.coat[at]);
  fragment.aroundLight.add(luminance(sent.around[at]), weight);
  fragment.mirrorLight.add(luminance(sent.mirror[at] / sent.coat[at]), weight);
  fragment.closeness += weight * sent.closeness[at];
}

// The light from above and below, and of the headlight.
constexpr glm::vec3 kAbove(0.40F, 0.42F, 0.45F), kBelow(0.17F, 0.165F, 0.16F);
constexpr float kHeadlight = 0.62F;

}  // namespace

QuickShader::QuickShader(const scene::Camera& camera, image::Image& picture)
    : picture_(picture),
      headlight_(glm::normalize(glm::vec3(camera.toWorld[2]) + 0.45F * glm::vec3(camera.toWorld[1]) -
                                0.3F * glm::vec3(camera.toWorld[0]))) {}

glm::vec3 QuickShader::lightOf(const Layer& layer, int at) const {
  const SurfacePoints& points = layer.surface;
  const glm::vec3 color = points.color[at];
  if (points.isUnlit(at)) return color;
  const glm::vec3 lit = points.material[at]->glossy ? reflected(points, at, -glm::normalize(layer.rays.direction(at)))
                                                    : color * lightOn(points.normal[at], points.finish[at].occlusion);
  return points.material[at]->emits ? lit + displayed(points.emission[at]) : lit;
}

void QuickShader::store(glm::vec3 light, int x, int y) const {
  std::uint8_t* rgb = picture_.row<std::uint8_t>(y) + std::ptrdiff_t{3} * x;
  for (int c = 0; c < 3; ++c) rgb[c] = bytes_.of(light[c]);
}

FourVectors QuickShader::lightOf(const FourPixels& pixels) const {
  const bool unlit = pixels.triangle.material().definition->unlit;
  const FourVectors& normal = pixels.points.normal;
  const Four towards = dot(normal, FourVectors::of(headlight_));
  const Four facing = chosen(towards > four(0.0F), towards, four(0.0F));
  const Four upwards = four(0.5F) + four(0.5F) * normal.y, downwards = four(1.0F) - upwards;
  const auto channel = [&](int c) {
    const auto& colors = pixels.points.colors;
    const Four color{colors[0][c], colors[1][c], colors[2][c], colors[3][c]};
    return unlit ? color : color * (kBelow[c] * downwards + kAbove[c] * upwards + kHeadlight * facing);
  };
  return {channel(0), channel(1), channel(2)};
}

// As `store` of the four, each with all its samples: their light is the pixel's.
void QuickShader::storeFour(const FourVectors& light, const PixelBlock& block) const {
  std::uint8_t* const rows[] = {picture_.pixel<std::uint8_t>(block.left, block.top),
                                picture_.pixel<std::uint8_t>(block.left, block.top + 1)};
  const Four* const channels[] = {&light.x, &light.y, &light.z};
  for (int c = 0; c < 3; ++c) {
    for (int i = 0; i < 4; ++i) rows[i >> 1][3 * (i & 1) + c] = bytes_.of((*channels[c])[i]);
  }
}

glm::vec3 QuickShader::lightOn(glm::vec3 normal, float occlusion) const {
  const float facing = std::max(0.0F, glm::dot(normal, headlight_));
  return glm::mix(kBelow, kAbove, 0.5F + 0.5F * normal.y) * occlusion + kHeadlight * facing;
}

// Metal mirrors a studio, dark below and bright above, the more blurred the rougher it is, and the headlight; anything
// else shows the headlight's gloss over its colour.
glm::vec3 QuickShader::reflected(const SurfacePoints& points, int at, glm::vec3 viewer) const {
  const glm::vec3 color = points.color[at], normal = points.normal[at];
  const Finish finish = points.finish[at];
  const float facing = std::max(0.0F, glm::dot(normal, viewer)), rough = finish.roughness;
  const glm::vec3 mirrored = 2.0F * glm::dot(normal, viewer) * normal - viewer;
  const glm::vec3 light = lightOn(normal, finish.occlusion);
  const float studio = glm::mix(0.10F, 0.85F, glm::smoothstep(-0.15F - rough, 0.45F + rough, mirrored.y));
  const float squared = std::max(0.02F, rough * rough), power = 2.0F / (squared * squared);
  const float near = std::max(0.0F, glm::dot(mirrored, headlight_));
  const float highlight = std::min(2.0F, 0.1F / squared) * std::pow(near, power);
  const glm::vec3 metal = color * (glm::mix(glm::vec3(studio), light, rough) * finish.occlusion + highlight);
  const float grazing = 1.0F - facing, gloss = 0.04F + 0.5F * grazing * grazing * grazing * grazing * grazing;
  const glm::vec3 other = color * light + (1.0F - rough) * gloss * (studio + 4.0F * highlight);
  return glm::mix(other, metal, finish.metallic);
}

glm::vec3 QuickShader::background(int row) const {
  constexpr float kTop = 0.105F, kBottom = 0.30F;  // light, not stored values
  return glm::vec3(glm::mix(kTop, kBottom, (static_cast<float>(row) + 0.5F) / static_cast<float>(picture_.height())));
}

FinalShader::FinalShader(const RayScene& scene, const LightSources& sources, LitPicture& picture)
    : scene_(scene), sources_(sources), light_(scene, sources), picture_(picture) {
  picture.lampChoice = light_.lampChoice();
}

RaySet FinalShader::shade(const Layer& layer, BlockSums<Sum> sums) const {
  const Fragments fragments = fragmentsOf(layer, sums);
  addColors(layer, sums);
  forEachRay(fragments.lit, [&](int at) {
    const float even = underEvenLight(layer.surface, at);
    fragments.of(layer, at).evenLight.add(even, layer.weightAt[at], (layer.later & setOf(at)) != 0);
  });
  addLight(layer, fragments, Reach::All);
  return 0;
}

RaySet FinalShader::shadeFurther(const Layer& layer, BlockSums<Sum> sums, Reach reach) const {
  addColors(layer, sums);
  addLight(layer, fragmentsOf(layer, sums), reach);
  return 0;
}

// What needs no light of others.
void FinalShader::addColors(const Layer& layer, BlockSums<Sum> sums) const {
  forEachRay(layer.missed, [&](int ray) {
    const Backdrop backdrop = sources_.backdrop(glm::normalize(layer.rays.direction(ray)));
    Sum& sum = sums[layer.block.summedAt(ray)];
    sum.ownLight.add(shown(backdrop.light), layer.weight[ray], (layer.later & setOf(ray)) != 0);
    if (backdrop.holds == Backdrop::Holds::Display) {
      sum.own += layer.weight[ray] * backdrop.light;
    } else {
      sum.emission += layer.weight[ray] * backdrop.light;
      sum.lit += layer.weight[ray];
    }
  });
  const SurfacePoints& points = layer.surface;
  forEachRay(layer.points, [&](int at) {
    Sum& sum = sums[layer.block.summedAt(at)];
    if (isLit(scene_, points, at)) {
      sum.emission += layer.weightAt[at] * sources_.stops() * points.emission[at];
      sum.lit += layer.weightAt[at];
    } else {
      const glm::vec3 light = points.color[at] + points.emission[at];
      sum.own += layer.weightAt[at] * displayed(light);
      sum.ownLight.add(shown(light), layer.weightAt[at], (layer.later & setOf(at)) != 0);
    }
  });
}

void FinalShader::addLight(const Layer& layer, const Fragments& fragments, Reach reach) const {
  const RaySet lit = fragments.lit;
  forEachRay(lit, [&](int at) { cover(layer, at, fragments.of(layer, at)); });
  const FollowedPoints followed{reach == Reach::Camera ? fragments.fresh : lit,
                                reach == Reach::All ? lit : fragments.fresh};
  if (followed.lamps == 0) return;
  VectorPerRay directions;
  forEachRay(followed.lamps, [&](int at) { directions.set(at, layer.rays.direction(at)); });
  const SentLight sent = light_.at(layer.surface, followed, directions, layer.numbers, layer.seed);
  forEachRay(followed.lamps, [&](int at) { addLamps(layer, at, sent, fragments.of(layer, at)); });
  forEachRay(followed.arounds, [&](int at) { addAround(layer, at, sent, fragments.of(layer, at)); });
}

FinalShader::Fragments FinalShader::fragmentsOf(const Layer& layer, BlockSums<Sum> sums) const {
  Fragments found{sums, 0, 0, {}};
  PerRay<int> known;
  forEachRay(layer.points, [&](int at) {
    if (isLit(scene_, layer.surface, at)) found.lit |= setOf(at);
    known[at] = static_cast<int>(sums[layer.block.summedAt(at)].fragments.size());
  });
  forEachRay(found.lit, [&](int at) {
    const float size = layer.camera.pixelHeight(layer.rays.hit(at).distance);
    found.index[at] =
        sums[layer.block.summedAt(at)].fragmentOf(layer.surface.faceNormal[at], layer.surface.position[at], size);
    if (found.index[at] >= known[at]) found.fresh |= setOf(at);
  });
  return found;
}

void FinalShader::store(Sum& sum, float samples, int x, int y) const {
  sum.samples = samples;
  picture_.at(x, y) = std::move(sum);
}

glm::vec3 displayLight(const LitPixel& pixel) {
  glm::vec3 light = pixel.emission;
  for (const LitFragment& fragment : pixel.fragments) {
    const glm::vec3 chalk = fragment.chalk.alone(fragment.chalkLight.all.weight);
    const glm::vec3 around = fragment.around.alone(fragment.aroundLight.weight);
    const glm::vec3 mirror = fragment.meanCoat() * fragment.mirror.alone(fragment.mirrorLight.weight);
    light += fragment.albedo * (chalk + around) + fragment.weight * mirror;
  }
  const glm::vec3 seen = pixel.lit > 0.0F ? pixel.lit * viewed(light / pixel.lit) : glm::vec3(0.0F);
  return (pixel.own + seen) / pixel.samples;
}

}  // namespace quillmere::render
