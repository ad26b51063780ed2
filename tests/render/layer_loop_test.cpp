#include "render/layer_loop.h"

#include <gtest/gtest.h>

#include <array>
#include <glm/gtc/matrix_transform.hpp>
#include <vector>

#include "hand_made_scene.h"

namespace quillmere::render {
namespace {

constexpr int kWidth = 37, kHeight = 19;  // no multiple of a block or a tile
constexpr float kAngle = 0.92729522F;     // of view, whose half has a tangent of one half

const PixelSampling kSamplings[] = {PixelSampling::grid(), PixelSampling::scattered(3, 5)};

// What each pixel was stored as. A shader writes to its own pixels only, so threads may share it.
template <class Value>
struct Pixels {
  std::vector<Value> values = std::vector<Value>(static_cast<std::size_t>(kWidth) * kHeight);

  Value& at(int x, int y) { return values[static_cast<std::size_t>(y) * kWidth + static_cast<std::size_t>(x)]; }
};

template <class Value, class Shading>
Pixels<Value> pixelsOf(const std::shared_ptr<HandMadeScene>& scene, const scene::Camera& camera,
                       const PixelSampling& sampling) {
  RayScene traced(scene);
  traced.pose(0.0);
  Pixels<Value> pixels;
  const Outcome outcome = drawPicture({traced, camera, kWidth, kHeight, {}, 2}, sampling, Shading{pixels});
  EXPECT_EQ(outcome, Outcome::Complete);
  return pixels;
}

// The first surface that a sample meets, whatever lies behind it: means over the samples that meet one.
struct Geometry {
  float depth = 0.0F, covered = 0.0F;
  glm::vec3 position{0.0F}, normal{0.0F}, faceNormal{0.0F};

  Geometry& operator+=(const Geometry& other) {
    depth += other.depth;
    covered += other.covered;
    position += other.position;
    normal += other.normal;
    faceNormal += other.faceNormal;
    return *this;
  }
};

struct DepthShader {
  using Sum = Geometry;
  Pixels<Geometry>& pixels;

  RaySet shade(const Layer& layer, PerRay<Geometry>& sums) const {
    forEachRay(layer.met, [&](int ray) {
      EXPECT_EQ(layer.reaching[ray], 1.0F) << "the second layer of a sample that was done with the first";
      const int at = layer.pointOf[ray];
      const SurfacePoints& surface = layer.surface;
      sums[ray] +=
          {layer.rays.hit(ray).distance, 1.0F, surface.position[at], surface.normal[at], surface.faceNormal[at]};
    });
    return layer.met;
  }
  void store(const Geometry& sum, float samples, int x, int y) const {
    const float n = sum.covered;
    pixels.at(x, y) = {sum.depth / n, n / samples, sum.position / n, sum.normal / n, sum.faceNormal / n};
  }
};

// How much of a pixel each instance covers, the background last.
constexpr int kIds = 4;
struct Coverage {
  std::array<float, kIds> of{};

  Coverage& operator+=(const Coverage& other) {
    for (std::size_t id = 0; id < kIds; ++id) of[id] += other.of[id];
    return *this;
  }
};

struct IdShader {
  using Sum = Coverage;
  Pixels<Coverage>& pixels;

  RaySet shade(const Layer& layer, PerRay<Coverage>& sums) const {
    forEachRay(layer.met,
               [&](int ray) { sums[ray].of.at(layer.surface.instance[layer.pointOf[ray]]) += layer.weight[ray]; });
    forEachRay(layer.missed, [&](int ray) { sums[ray].of.back() += layer.weight[ray]; });
    return 0;
  }
  void store(const Coverage& sum, float samples, int x, int y) const {
    for (std::size_t id = 0; id < kIds; ++id) pixels.at(x, y).of[id] = sum.of[id] / samples;
  }
};

scene::Material glass(float alpha) {
  scene::Material material = colored({1, 1, 1});
  material.alpha = scene::Material::Alpha::Blend;
  material.baseColor.a = alpha;
  return material;
}

glm::mat4 moved(float x, float y, float z) {
  return glm::translate(glm::mat4(1.0F), glm::vec3(x, y, z));
}

TEST(LayerLoop, DepthIsMeasuredAlongTheViewAxisOfTheFirstLayer) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(rectangle(-50, -50, 50, 50), scene->addMaterial(glass(0.3F)), moved(0, 0, -1));
  scene->add(rectangle(-50, -50, 50, 50), 0, moved(0, 0, -2));
  const scene::Camera camera = perspective({0, 0, 2}, {0, 0, 0}, kAngle);
  for (const PixelSampling& sampling : kSamplings) {
    Pixels<Geometry> seen = pixelsOf<Geometry, DepthShader>(scene, camera, sampling);
    for (const Geometry& pixel : seen.values) {
      EXPECT_NEAR(pixel.depth, 3.0F, 1e-5F);
      EXPECT_EQ(pixel.covered, 1.0F);
    }
    const glm::vec3 corner = seen.at(0, 0).position;  // 3 m away, where 3 m are seen on 19 pixels
    EXPECT_NEAR(corner.x, -18.0F * 3 / kHeight, 1.5F / kHeight);
    EXPECT_NEAR(corner.y, 9.0F * 3 / kHeight, 1.5F / kHeight);
    EXPECT_NEAR(corner.z, -1.0F, 1e-5F);
  }
}

TEST(LayerLoop, ASlopeIsAsDeepInAPixelAsInItsMiddle) {
  auto scene = std::make_shared<HandMadeScene>();
  const auto slope = rectangle(-50, -50, 50, 50);
  slope->normals.assign(4, glm::normalize(glm::vec3(0, 1, 2)));  // smoothed: it leans
  scene->add(slope, 0, glm::rotate(glm::mat4(1.0F), glm::radians(-45.0F), glm::vec3(1, 0, 0)));
  Pixels<Geometry> seen =
      pixelsOf<Geometry, DepthShader>(scene, orthographic({0, 0, 30}, {0, 0, 0}, 9.5F), kSamplings[0]);
  for (int y = 0; y < kHeight; ++y) {
    const Geometry& pixel = seen.at(7, y);  // 1 m each way
    EXPECT_NEAR(pixel.depth, 30.0F + static_cast<float>(9 - y), 1e-3F) << y;
    EXPECT_NEAR(pixel.position.y, static_cast<float>(9 - y), 1e-3F) << y;
    EXPECT_NEAR(glm::distance(pixel.faceNormal, glm::normalize(glm::vec3(0, 1, 1))), 0.0F, 1e-5F) << y;
    const glm::vec3 smooth = glm::rotate(glm::mat4(1.0F), glm::radians(-45.0F), glm::vec3(1, 0, 0)) *
                             glm::vec4(glm::normalize(glm::vec3(0, 1, 2)), 0.0F);
    EXPECT_NEAR(glm::distance(pixel.normal, smooth), 0.0F, 1e-5F) << y;
  }
}

TEST(LayerLoop, LayersAndSamplesShareAPixelByAlphaAndByArea) {
  auto scene = std::make_shared<HandMadeScene>();
  const int see = scene->addMaterial(glass(0.25F));
  scene->add(rectangle(-5, -50, 6, 50), see, moved(0, 0, 2));   // X = 0 is the middle of column 18
  scene->add(rectangle(-50, -50, 50, 2), see, moved(0, 0, 1));  // and Y = 0 that of row 9
  scene->add(rectangle(0, -50, 50, 50), 0);
  struct Row {
    int x, y;
    Coverage expected;
  };
  const scene::Camera camera = orthographic({0, 0, 30}, {0, 0, 0}, 9.5F);
  Pixels<Coverage> grid = pixelsOf<Coverage, IdShader>(scene, camera, kSamplings[0]);
  Pixels<Coverage> scattered = pixelsOf<Coverage, IdShader>(scene, camera, kSamplings[1]);
  for (const Row& row : {Row{0, 0, {{0, 0, 0, 1}}}, Row{36, 0, {{0, 0, 1, 0}}}, Row{16, 0, {{0.25F, 0, 0, 0.75F}}},
                         Row{0, 18, {{0, 0.25F, 0, 0.75F}}}, Row{16, 18, {{0.25F, 0.1875F, 0, 0.5625F}}},
                         Row{20, 18, {{0.25F, 0.1875F, 0.5625F, 0}}}, Row{18, 0, {{0.25F, 0, 0.375F, 0.375F}}},
                         Row{24, 18, {{0.125F, 0.21875F, 0.65625F, 0}}}}) {
    SCOPED_TRACE(testing::Message() << row.x << ", " << row.y);
    float sum = 0.0F;
    for (std::size_t id = 0; id < kIds; ++id) {
      EXPECT_NEAR(grid.at(row.x, row.y).of[id], row.expected.of[id], 1e-6F) << id;
      sum += scattered.at(row.x, row.y).of[id];
    }
    EXPECT_NEAR(sum, 1.0F, 1e-6F);
    if (row.x == 18 || row.x == 24) continue;  // where three scattered samples can't halve the pixel
    EXPECT_EQ(scattered.at(row.x, row.y).of, grid.at(row.x, row.y).of);
  }
}

}  // namespace
}  // namespace quillmere::render
