#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <stdexcept>

#include "render/edge_samples.h"
#include "render/geometry_cache.h"
#include "render/layer_loop.h"
#include "render/light_filter.h"
#include "render/shaders.h"
#include "small_picture.h"

namespace quillmere::render {
namespace {

template <class Value>
bool samePixels(const image::Image& a, const image::Image& b) {
  bool same = a.width() == b.width() && a.height() == b.height();
  for (int y = 0; same && y < a.height(); ++y) {
    same = std::equal(a.row<Value>(y), a.row<Value>(y) + 3 * a.width(), b.row<Value>(y));
  }
  return same;
}

// Cubes on the ground, one of them see-through, under a dome.
std::shared_ptr<HandMadeScene> village() {
  auto scene = std::make_shared<HandMadeScene>();
  scene::Material sky = unlit({0.3F, 0.5F, 0.9F});
  sky.doubleSided = true;
  scene->add(ground(20), 0);
  scene->add(cube(30), scene->addMaterial(sky));
  const int see = scene->addMaterial(glass({0.3F, 0.8F, 0.4F}, 0.4F)),
            red = scene->addMaterial(colored({0.7F, 0.2F, 0.1F}));
  const auto house = cube(1);
  for (int i = 0; i < 9; ++i) {
    scene->add(house, i == 4 ? see : red, moved(float(2 * (i % 3) - 2), 0.5F, float(2 * (i / 3) - 2)));
  }
  return scene;
}

const scene::Camera kView = perspective({3, 4, 7}, {0, 0, 0}, 0.8F);
constexpr int kWidth = 101, kHeight = 67;

// Draws no four pixels at once.
struct OneAtATime {
  using Sum = QuickShader::Sum;
  const QuickShader& shader;

  RaySet shade(const Layer& layer, BlockSums<Sum> sums) const { return shader.shade(layer, sums); }
  void store(const Sum& sum, float samples, int x, int y) const { shader.store(sum, samples, x, y); }
};

TEST(Repeatability, FourPixelsAtOnceShowWhatTheyShowAlone) {
  const auto shown = village();
  const auto painted = std::make_shared<image::Image>(6, 4, 4, image::Sample::Byte);
  for (int i = 0; i < 96; ++i) painted->row<std::uint8_t>(0)[i] = static_cast<std::uint8_t>(53 * i);
  scene::Material shiny = colored({0.6F, 0.6F, 0.5F}), lamp = colored({0.4F, 0.5F, 0.6F}), papered = colored({1, 1, 1});
  shiny.metallic = 1.0F;
  shiny.roughness = 0.4F;
  lamp.emission = {0.5F, 0.2F, 0.1F};
  papered.texture.picture = painted;
  int column = 0;
  for (const scene::Material& material : {shiny, lamp, papered, unlit({0.2F, 0.9F, 0.4F})}) {
    const auto wall = rectangle(-1, -1, 1, 1);
    if (column % 2 == 0) wall->normals.assign(4, glm::normalize(glm::vec3(1, 2, 3)));
    shown->add(wall, shown->addMaterial(material), moved(static_cast<float>(2 * column++ - 3), 1, 4));
  }
  RayScene scene(shown);
  scene.pose(0.0);
  const PictureRequest request{scene, kView, kWidth, kHeight, {}, 1};
  image::Image together(kWidth, kHeight, 3, image::Sample::Byte), alone = together;
  drawPicture(request, PixelSampling::grid(), QuickShader(kView, together));
  const QuickShader shader(kView, alone);
  drawPicture(request, PixelSampling::grid(), OneAtATime{shader});
  EXPECT_TRUE(samePixels<std::uint8_t>(together, alone));
}

TEST(Repeatability, ThePictureDependsOnTheSeedButNotOnTheNumberOfThreads) {
  RayScene scene(village());
  scene.pose(0.0);
  const LightSources sources(scene, {}, 1.0F);
  const auto drawn = [&](int threads, Kind kind) {
    const PictureRequest request{scene, kView, kWidth, kHeight, {}, threads};
    image::Image picture(kWidth, kHeight, 3, kind == Kind::Quick ? image::Sample::Byte : image::Sample::Float);
    if (kind == Kind::Quick) {
      drawPicture(request, PixelSampling::grid(), QuickShader(kView, picture));
    } else {
      LitPicture lit(kWidth, kHeight);
      const FinalShader shader(scene, sources, lit);
      drawPicture(request, PixelSampling::scattered(16, 7), shader);
      sampleEdges(request, 16, 7, shader, lit);
      smoothGrain(lit, threads, {});
      for (int i = 0; i < kWidth * kHeight; ++i) {
        const glm::vec3 light = displayLight(lit.pixels[static_cast<std::size_t>(i)]);
        for (int c = 0; c < 3; ++c) picture.row<float>(0)[3 * i + c] = light[c];
      }
    }
    return picture;
  };
  for (const int threads : {2, 7}) {
    EXPECT_TRUE(samePixels<std::uint8_t>(drawn(1, Kind::Quick), drawn(threads, Kind::Quick))) << threads;
    EXPECT_TRUE(samePixels<float>(drawn(1, Kind::Final), drawn(threads, Kind::Final))) << threads;
  }
  Renderer renderer(village());
  renderer.pose(0.0);
  const auto seeded = [&](std::uint32_t seed) { return renderer.drawFinal(kView, kWidth, kHeight, {1, seed}); };
  EXPECT_FALSE(samePixels<float>(seeded(1), seeded(2)));
}

TEST(Repeatability, PosesAreIndependentOfThoseBefore) {
  const auto scene = village();
  std::vector<scene::Surface>& surfaces = scene->now.surfaces;
  const std::vector<scene::Surface> start = surfaces;
  Renderer kept(scene);
  image::Image before;
  const std::vector<std::pair<const char*, std::function<void()>>> steps{
      {"as it begins", [] {}},
      {"one moves", [&] { surfaces[4].toWorld[3].y += 1; }},
      {"it moves on", [&] { surfaces[4].toWorld[3].x += 1; }},
      {"one deforms", [&] { surfaces[5].geometry = cube(1.4F); }},
      {"one goes", [&] { surfaces.erase(surfaces.begin() + 2); }},
      {"all are back", [&] { surfaces = start; }}};
  double seconds = 0;
  for (const auto& [name, change] : steps) {
    SCOPED_TRACE(name);
    change();
    kept.pose(++seconds);
    Renderer fresh(scene);
    fresh.pose(0);
    const image::Image after = kept.drawQuick(kView, kWidth, kHeight);
    EXPECT_TRUE(samePixels<std::uint8_t>(after, fresh.drawQuick(kView, kWidth, kHeight)));
    EXPECT_FALSE(samePixels<std::uint8_t>(after, before));
    before = after;
  }
}

TEST(Repeatability, PosesBuildWhatIsNewKeepWhatStaysAndForgetTheRest) {
  const DeviceHandle device = makeDevice();
  GeometryCache cache(device.get(), nullptr);
  const Shape box{cube(1)}, sheet{ground(2)}, leaf{sheet.geometry, true};
  cache.keep(std::vector{box, sheet, box});
  const RTCScene built = cache.find(box);
  cache.keep(std::vector{leaf, box});
  EXPECT_EQ(cache.find(box), built);
  EXPECT_NE(cache.find(leaf), nullptr);
  EXPECT_THROW(cache.find(sheet), std::out_of_range);
  EXPECT_EQ(sheet.geometry.use_count(), 3) << "held by sheet, leaf and the cache's leaf only";
}

TEST(Repeatability, AStoppedDrawingIsEmptyAndTheNextOneWhole) {
  Renderer renderer(village());
  renderer.pose(0.0);
  std::atomic<int> asked{0};
  const StopTest soon = [&] { return ++asked > 3; };
  EXPECT_TRUE(renderer.drawQuick(kView, 300, 200, soon).empty());
  EXPECT_LT(asked, 30) << "it goes on being asked after it said stop";
  asked = 0;
  EXPECT_TRUE(renderer.drawFinal(kView, 300, 200, {1}, soon).empty());
  EXPECT_FALSE(renderer.drawFinal(kView, kWidth, kHeight, {1}, [] { return false; }).empty());
  EXPECT_THROW(renderer.drawQuick(kView, 300, 200, []() -> bool { throw std::logic_error("asked"); }),
               std::logic_error);
}

}  // namespace
}  // namespace quillmere::render
