#include "shaders.h"

#include <algorithm>
#include <cmath>

#include "color_encoding.h"
#include "light_transport.h"
#include "reflection.h"

namespace quillmere::render {
namespace {

// The points of a layer where light is to be estimated.
RaySet litPoints(const RayScene& scene, const Layer& layer) {
  RaySet lit = 0;
  forEachRay(layer.points, [&](int at) {
    if (!layer.surface.isUnlit(at) && !scene.instances()[layer.surface.instance[at]].sky) lit |= setOf(at);
  });
  return lit;
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

LitPixel meanOf(const FinalShader::Sum& sum, float samples, float aroundSamples) {
  LitPixel pixel;
  pixel.samples = samples;
  pixel.aroundSamples = aroundSamples;
  pixel.chalk = sum.chalk / samples;
  pixel.albedo = sum.albedo / samples;
  pixel.coat = sum.coat / samples;
  pixel.emission = sum.emission / samples;
  pixel.own = sum.own / samples;
  pixel.position = sum.lit > 0.0F ? sum.position / sum.lit : glm::vec3(0.0F);
  pixel.lit = sum.lit / samples;
  pixel.normal = sum.normal;
  pixel.depth = sum.lit > 0.0F ? sum.depth / sum.lit : 0.0F;
  pixel.chalkError = sum.chalkLight.error(samples);
  pixel.edgeError = samples > 1.0F ? sum.evenLight.error(samples) : 0.0F;
  if (aroundSamples <= 0.0F) return pixel;
  pixel.closeness = sum.closeness / aroundSamples;
  pixel.around = sum.around / aroundSamples;
  pixel.aroundAlbedo = sum.aroundAlbedo / aroundSamples;
  pixel.mirror = sum.mirror / aroundSamples;
  pixel.mirrorCoat = sum.mirrorCoat / aroundSamples;
  pixel.aroundError = sum.aroundLight.error(aroundSamples);
  pixel.mirrorError = sum.mirrorLight.error(aroundSamples);
  return pixel;
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

FinalShader::Sum& FinalShader::Sum::operator+=(const Sum& other) {
  chalk += other.chalk;
  around += other.around;
  albedo += other.albedo;
  mirror += other.mirror;
  coat += other.coat;
  emission += other.emission;
  own += other.own;
  normal += other.normal;
  lit += other.lit;
  closeness += other.closeness;
  position += other.position;
  aroundAlbedo += other.aroundAlbedo;
  mirrorCoat += other.mirrorCoat;
  depth += other.depth;
  chalkLight += other.chalkLight;
  aroundLight += other.aroundLight;
  mirrorLight += other.mirrorLight;
  evenLight += other.evenLight;
  return *this;
}

FinalShader::FinalShader(const RayScene& scene, const LightSources& sources, LitPicture& picture)
    : scene_(scene), sources_(sources), light_(scene, sources), picture_(picture) {}

RaySet FinalShader::shade(const Layer& layer, BlockSums<Sum> sums, Reach reach) const {
  forEachRay(layer.missed, [&](int ray) {
    const Backdrop backdrop = sources_.backdrop(glm::normalize(layer.rays.direction(ray)));
    sums[ray].evenLight.add(layer.weight[ray] * shown(backdrop.light), (layer.later & setOf(ray)) != 0);
    if (backdrop.holds == Backdrop::Holds::Display) {
      sums[ray].own += layer.weight[ray] * backdrop.light;
      return;
    }
    sums[ray].emission += layer.weight[ray] * backdrop.light;
    sums[ray].lit += layer.weight[ray];
  });
  const RaySet lit = litPoints(scene_, layer);
  VectorPerRay directions;
  forEachRay(lit, [&](int at) { directions.set(at, layer.rays.direction(at)); });
  const SentLight sent = light_.at(layer.surface, lit, directions, layer.numbers, layer.seed, reach);
  forEachRay(layer.met, [&](int ray) {
    const int at = layer.pointOf[ray];
    const float weight = layer.weight[ray];
    const bool isLater = (layer.later & setOf(ray)) != 0;
    sums[ray].evenLight.add(weight * underEvenLight(layer.surface, at), isLater);
    if ((lit & setOf(at)) == 0) {
      sums[ray].own += weight * displayed(layer.surface.color[at] + layer.surface.emission[at]);
      return;
    }
    Sum& sum = sums[ray];
    const glm::vec3 albedo = weight * Reflections::chalk(layer.surface, at);
    sum.chalk += albedo * sent.chalk[at];
    sum.albedo += albedo;
    sum.coat += weight * sent.coat[at];
    sum.emission += weight * sources_.stops() * layer.surface.emission[at];
    sum.lit += weight;
    sum.position += weight * layer.surface.position[at];
    sum.normal += weight * layer.surface.normal[at];
    sum.depth += weight * layer.rays.hit(ray).distance;
    sum.chalkLight.add(weight * luminance(sent.chalk[at]), isLater);
    if (reach == Reach::Lamps) return;
    sum.around += albedo * sent.around[at];
    sum.aroundAlbedo += albedo;
    sum.closeness += weight * sent.closeness[at];
    sum.mirror += weight * sent.mirror[at];
    sum.mirrorCoat += weight * sent.coat[at];
    sum.aroundLight.add(weight * luminance(sent.around[at]));
    sum.mirrorLight.add(weight * luminance(sent.mirror[at] / sent.coat[at]));
  });
  return 0;
}

void FinalShader::store(const Sum& sum, float samples, int x, int y) const {
  picture_.at(x, y) = meanOf(sum, samples, samples);
}

void FinalShader::addTo(const Sum& sum, float samples, float around, int x, int y) const {
  LitPixel& pixel = picture_.at(x, y);
  pixel = pixel.with(meanOf(sum, samples, around));
}

glm::vec3 displayLight(const LitPixel& pixel) {
  const glm::vec3 light = pixel.chalk + pixel.around + pixel.mirror + pixel.emission;
  return pixel.own + (pixel.lit > 0.0F ? pixel.lit * viewed(light / pixel.lit) : glm::vec3(0.0F));
}

}  // namespace quillmere::render
