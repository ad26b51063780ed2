#include "render/layer_loop.h"

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>
#include <iterator>
#include <numeric>
#include <set>
#include <utility>
#include <vector>

#include "hand_made_scene.h"
#include "render/sampling.h"

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

template <class Shading, class Value = typename Shading::Sum>
Pixels<Value> pixelsOf(const std::shared_ptr<HandMadeScene>& scene, const scene::Camera& camera,
                       const PixelSampling& sampling) {
  RayScene traced(scene);
  traced.pose(0.0);
  Pixels<Value> pixels;
  const Outcome outcome = drawPicture({traced, camera, kWidth, kHeight, {}, 2}, sampling, Shading{pixels});
  EXPECT_EQ(outcome, Outcome::Complete);
  return pixels;
}

// The first surface that a sample meets: means over the samples that meet one. The columns are position, normal, face
// normal, and depth beside the share of the samples that meet a surface.
struct SurfaceShader {
  using Sum = glm::mat4;
  Pixels<Sum>& pixels;

  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const {
    forEachRay(layer.met, [&](int ray) {
      EXPECT_EQ(layer.reaching[ray], 1.0F) << "the second layer of a sample that was done with the first";
      const SurfacePoints& surface = layer.surface;
      const int at = layer.pointOf[ray];
      sums[layer.block.summedAt(ray)] +=
          glm::mat4(glm::vec4(surface.position[at], 0), glm::vec4(surface.normal[at], 0),
                    glm::vec4(surface.faceNormal[at], 0), glm::vec4(layer.rays.hit(ray).distance, 1, 0, 0));
    });
    return layer.met;
  }
  void store(const Sum& sum, float samples, int x, int y) const {
    pixels.at(x, y) = sum / sum[3].y;
    pixels.at(x, y)[3].y = sum[3].y / samples;
  }
};

// How much of a pixel each of three instances covers, and the background.
struct IdShader {
  using Sum = glm::vec4;
  Pixels<Sum>& pixels;

  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const {
    forEachRay(layer.met, [&](int ray) {
      const auto instance = static_cast<int>(layer.surface.instance[layer.pointOf[ray]]);
      sums[layer.block.summedAt(ray)][instance] += layer.weight[ray];
    });
    forEachRay(layer.missed, [&](int ray) { sums[layer.block.summedAt(ray)][3] += layer.weight[ray]; });
    return 0;
  }
  void store(const Sum& sum, float samples, int x, int y) const { pixels.at(x, y) = sum / samples; }
};

// Where the samples of pixel (8, 4) lie, which are the first rays of its block.
std::set<std::pair<float, float>> placesIn(const PixelSampling& sampling, int raysOfPixel) {
  const PixelBlock block{sampling.block, 8, 4};
  std::set<std::pair<float, float>> places;
  for (int pass = 0; pass < sampling.passes; ++pass) {
    PerRay<std::uint32_t> numbers = sampling.firstSamples(block);
    for (std::uint32_t& number : numbers.values) number += static_cast<std::uint32_t>(pass);
    PerRay<float> x{}, y{};
    sampling.place(block, numbers, x, y);
    for (int ray = 0; ray < raysOfPixel; ++ray) places.insert({x[ray], y[ray]});
  }
  return places;
}

TEST(PixelSampling, PlacesFollowFromTheSeedAndNoneIsTakenTwice) {
  constexpr int kFirst = 16;
  std::set<std::pair<float, float>> all = placesIn(PixelSampling::scattered(kFirst, 7), 1);
  EXPECT_EQ(all, placesIn(PixelSampling::scattered(kFirst, 7), 1));
  EXPECT_NE(all, placesIn(PixelSampling::scattered(kFirst, 8), 1));
  all.merge(placesIn(PixelSampling::further(kRays, kFirst, 7), kRays));
  EXPECT_EQ(all.size(), std::size_t{kFirst + kRays});
}

TEST(LayerLoop, RaysBesideEachOtherAreThoseOfOnePixel) {
  for (const PixelSampling& sampling : kSamplings) {
    const PixelBlock block{sampling.block, 6, 4};
    for (int ray = 0; ray < kRays; ++ray) {
      RaySet expected = 0;
      for (int other = 0; other < kRays; ++other) {
        if (block.pixelOf(other) == block.pixelOf(ray)) expected |= setOf(other);
      }
      EXPECT_EQ(block.raysBeside(ray), expected) << ray;
    }
  }
}

TEST(SamplePoints, PowersOfTwoFillEveryRowColumnAndSquare) {
  for (const std::uint32_t seed : {0U, 1U, 0xdeadbeefU}) {
    std::set<int> columns, rows, squares;
    std::uint32_t indices[16];
    std::iota(std::begin(indices), std::end(indices), 0U);
    SamplePoints together;
    findSamplePoints(indices, seed, together);
    for (std::uint32_t i = 0; i < 16; ++i) {
      const glm::vec2 point = samplePoint(i, seed);
      EXPECT_EQ(together[static_cast<int>(i)], point);
      ASSERT_TRUE(point.x >= 0.0F && point.x < 1.0F && point.y >= 0.0F && point.y < 1.0F);
      columns.insert(static_cast<int>(point.x * 16));
      rows.insert(static_cast<int>(point.y * 16));
      squares.insert(static_cast<int>(point.x * 4) * 4 + static_cast<int>(point.y * 4));
    }
    EXPECT_EQ(columns.size(), 16U) << seed;
    EXPECT_EQ(rows.size(), 16U) << seed;
    EXPECT_EQ(squares.size(), 16U) << seed;
  }
}

TEST(LayerLoop, DepthIsMeasuredAlongTheViewAxisOfTheFirstLayer) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(rectangle(-50, -50, 50, 50), scene->addMaterial(glass({1, 1, 1}, 0.3F)), moved(0, 0, -1));
  scene->add(rectangle(-50, -50, 50, 50), 0, moved(0, 0, -2));
  const scene::Camera camera = perspective({0, 0, 2}, {0, 0, 0}, kAngle);
  for (const PixelSampling& sampling : kSamplings) {
    Pixels<glm::mat4> seen = pixelsOf<SurfaceShader>(scene, camera, sampling);
    for (const glm::mat4& pixel : seen.values) {
      EXPECT_NEAR(pixel[3].x, 3.0F, 1e-5F);
      EXPECT_EQ(pixel[3].y, 1.0F);
    }
    const glm::vec3 corner = seen.at(0, 0)[0];  // 3 m away, where 3 m are seen on 19 pixels
    EXPECT_LT(glm::distance(corner, glm::vec3(-18.0F * 3 / kHeight, 9.0F * 3 / kHeight, -1)), 1.5F / kHeight);
  }
}

TEST(LayerLoop, ASlopeIsAsDeepInAPixelAsInItsMiddle) {
  auto scene = std::make_shared<HandMadeScene>();
  const auto slope = rectangle(-50, -50, 50, 50);
  slope->normals.assign(4, glm::normalize(glm::vec3(0, 1, 2)));  // smoothed: it leans
  const glm::mat4 turned = glm::rotate(glm::mat4(1.0F), glm::radians(-45.0F), glm::vec3(1, 0, 0));
  scene->add(slope, 0, turned);
  Pixels<glm::mat4> seen = pixelsOf<SurfaceShader>(scene, orthographic({0, 0, 30}, {0, 0, 0}, 9.5F), kSamplings[0]);
  for (int y = 0; y < kHeight; ++y) {
    const glm::mat4& pixel = seen.at(7, y);  // 1 m each way
    EXPECT_NEAR(pixel[3].x, 30.0F + static_cast<float>(9 - y), 1e-3F) << y;
    EXPECT_NEAR(pixel[0].y, static_cast<float>(9 - y), 1e-3F) << y;
    EXPECT_LT(glm::distance(pixel[1], turned * glm::vec4(slope->normals[0], 0)), 1e-5F) << y;
    EXPECT_LT(glm::distance(pixel[2], glm::normalize(glm::vec4(0, 1, 1, 0))), 1e-5F) << y;
  }
}

TEST(LayerLoop, LayersAndSamplesShareAPixelByAlphaAndByArea) {
  auto scene = std::make_shared<HandMadeScene>();
  const int see = scene->addMaterial(glass({1, 1, 1}, 0.25F));
  scene->add(rectangle(-5, -50, 6, 50), see, moved(0, 0, 0.01F));    // X = 0 is the middle of column 18
  scene->add(rectangle(-50, -50, 50, 2), see, moved(0, 0, 0.005F));  // and Y = 0 that of row 9
  scene->add(rectangle(0, -50, 50, 50), 0);
  struct Row {
    int x, y;
    glm::vec4 expected;
  };
  const scene::Camera camera = orthographic({0, 0, 30}, {0, 0, 0}, 9.5F);
  Pixels<glm::vec4> grid = pixelsOf<IdShader>(scene, camera, kSamplings[0]);
  Pixels<glm::vec4> scattered = pixelsOf<IdShader>(scene, camera, kSamplings[1]);
  for (const Row& row : {Row{0, 0, {0, 0, 0, 1}}, Row{36, 0, {0, 0, 1, 0}}, Row{16, 0, {0.25F, 0, 0, 0.75F}},
                         Row{0, 18, {0, 0.25F, 0, 0.75F}}, Row{16, 18, {0.25F, 0.1875F, 0, 0.5625F}},
                         Row{20, 18, {0.25F, 0.1875F, 0.5625F, 0}}, Row{18, 0, {0.25F, 0, 0.375F, 0.375F}},
                         Row{24, 18, {0.125F, 0.21875F, 0.65625F, 0}}}) {
    SCOPED_TRACE(testing::Message() << row.x << ", " << row.y);
    EXPECT_LT(glm::distance(grid.at(row.x, row.y), row.expected), 1e-6F);
    EXPECT_NEAR(glm::dot(scattered.at(row.x, row.y), glm::vec4(1)), 1.0F, 1e-6F);
    if (row.x == 18 || row.x == 24) continue;  // where three scattered samples can't halve the pixel
    EXPECT_EQ(scattered.at(row.x, row.y), grid.at(row.x, row.y));
  }
}

}  // namespace
}  // namespace quillmere::render
