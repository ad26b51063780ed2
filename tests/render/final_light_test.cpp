// What lights surfaces in final pictures.
#include <gtest/gtest.h>

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>

#include "render/color_encoding.h"
#include "render/light_filter.h"
#include "render/light_sources.h"
#include "render/shaders.h"
#include "small_picture.h"

namespace quillmere::render {
namespace {

TEST(FinalLight, CornersAreDarkerThanOpenGround) {
  auto scene = greyGround();
  scene->now.lights.push_back(lamp(scene::Light::Kind::Directional, {}, {0, -1, 0}));
  scene->now.lights[0].color = glm::vec3(0.0F);  // the sky alone
  const float open = brightness(lightAt(plan(scene), 0.7F, 0));
  scene->add(cube(1), scene->addMaterial(colored({0, 0, 0})), moved(0, 0.5F, 0));
  EXPECT_LT(brightness(lightAt(plan(scene), 0.6F, 0)), 0.75F * open);
}

TEST(FinalLight, UnlitSurfacesTakeNoLightAway) {
  const image::Image bare = plan(greyGround());
  auto domed = greyGround();
  scene::Material sky = unlit({0.2F, 0.4F, 0.9F});
  sky.doubleSided = true;
  const int kind = domed->addMaterial(sky);
  domed->add(cube(1), kind, moved(1.2F, 6, 1.2F));  // between sun and ground
  const image::Image covered = plan(domed);
  for (const glm::vec2 place : {glm::vec2(-1.5F, -1.5F), glm::vec2(-1.5F, 1), glm::vec2(0, -1)}) {
    EXPECT_NEAR(brightness(lightAt(covered, place.x, place.y)), brightness(lightAt(bare, place.x, place.y)), 0.01F);
  }
}

TEST(FinalLight, LampsReachAsFarAsTheirConeAndRange) {
  struct Row {
    const char* name;
    scene::Light light;
    float range;
    glm::vec2 bright, dark;
  };
  const scene::Light aside = lamp(scene::Light::Kind::Spot, {0, 2, 0}, {1.2F, -2, 0});
  const scene::Light above = lamp(scene::Light::Kind::Point, {0, 1, 0}, {0, -1, 0});
  const scene::Light corner = lamp(scene::Light::Kind::Point, {-1.5F, 1, -1.5F}, {0, -1, 0});
  for (const Row& row : {Row{"spot", aside, 0, {1.2F, 0}, {-1, 0}}, Row{"range", above, 1.3F, {0, 0}, {0.9F, 0}},
                         Row{"distance", corner, 0, {-1.5F, -1.5F}, {1.5F, 1.5F}}}) {
    for (const float strength : {1.0F, 5e4F}) {  // which the exposure follows
      SCOPED_TRACE(testing::Message() << row.name << " " << strength);
      auto scene = greyGround();
      scene->now.lights.push_back(row.light);
      scene->now.lights[0].color *= strength;
      scene->now.lights[0].range = row.range;
      const image::Image drawn = plan(scene);
      const float bright = brightness(lightAt(drawn, row.bright.x, row.bright.y));
      EXPECT_GT(bright, 3.0F * brightness(lightAt(drawn, row.dark.x, row.dark.y)));
      EXPECT_GT(bright, 0.2F);
    }
  }
}

// More than are weighed for a point, of unequal strengths.
TEST(FinalLight, ManyLampsGiveAsMuchLightAsOneOfTheirStrength) {
  const auto lit = [](int lamps) {
    auto scene = greyGround();
    for (int i = 0; i < lamps; ++i) {
      scene->now.lights.push_back(lamp(scene::Light::Kind::Point, {0.4F, 1.2F, 0}, {0, -1, 0}));
      scene->now.lights.back().color *= 2.0F * static_cast<float>(i + 1) / static_cast<float>(lamps * (lamps + 1));
    }
    return plan(scene);
  };
  const image::Image one = lit(1), many = lit(40);
  for (const glm::vec2 place : {glm::vec2(0.4F, 0), glm::vec2(-1.5F, 1), glm::vec2(1, -1.5F)}) {
    const float expected = brightness(lightAt(one, place.x, place.y));
    EXPECT_NEAR(brightness(lightAt(many, place.x, place.y)), expected, 0.04F * expected);
  }
}

std::shared_ptr<HandMadeScene> withBars(const scene::Material& material, float height) {
  auto scene = greyGround();
  const int kind = scene->addMaterial(material);
  for (int i = 0; i < 12; ++i) {
    const glm::mat4 turned = glm::rotate(moved(0, height, 0), 0.5F * static_cast<float>(i), glm::vec3(0, 1, 0));
    scene->add(cube(0.02F), kind, glm::scale(turned, {150, 1, 1}));
  }
  return scene;
}

TEST(FinalLight, TheSunsShadowsAreTheSofterTheFartherTheirObjectIs) {
  const auto halfLit = [](float height) {  // places in a row that are neither in the light nor in the dark
    auto scene = greyGround();
    scene->now.lights.push_back(lamp(scene::Light::Kind::Directional, {}, {0, -1, 0}));
    scene->add(cube(1), scene->addMaterial(colored({0.4F, 0.4F, 0.4F})), moved(-1, height, 0));  // as far as x = 0.
    Renderer renderer(scene);
    renderer.pose(0.0);
    const image::Image drawn = renderer.drawFinal(fromAbove(), kPlanSide, kPlanSide, {16, 1, 0.0F, Lighting::Scene});
    const float open = brightness(lightAt(drawn, 1.5F, 0));
    int count = 0;
    for (float x = -0.5F; x < 0.5F; x += 0.05F) {
      const float here = brightness(lightAt(drawn, x, 0));
      count += here > 0.1F * open && here < 0.9F * open ? 1 : 0;
    }
    return count;
  };
  EXPECT_GT(halfLit(30), halfLit(1.5F) + 3);
}

std::shared_ptr<HandMadeScene> polishedUnderLamp() {
  auto scene = std::make_shared<HandMadeScene>();
  scene::Material steel = colored({0.6F, 0.5F, 0.4F});
  steel.metallic = 1.0F;
  steel.roughness = 0.1F;
  scene->add(ground(40), scene->addMaterial(steel));
  for (const float x : {-1.0F, 0.2F, 1.3F}) {
    scene->now.lights.push_back(lamp(scene::Light::Kind::Point, {x, 2, 0.5F * x}, {0, -1, 0}));
  }
  return scene;
}

std::shared_ptr<HandMadeScene> stripesUnderSky() {
  auto stripes = std::make_shared<image::Image>(64, 64, 4, image::Sample::Byte);
  for (int i = 0; i < 64 * 64 * 4; ++i) stripes->row<std::uint8_t>(0)[i] = i % 4 == 3 || i / 8 % 2 == 0 ? 255 : 40;
  scene::Material material = colored({0.7F, 0.7F, 0.7F});
  material.texture.picture = stripes;
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(rectangle(-2, -2, 2, 2), scene->addMaterial(material),
             glm::rotate(glm::mat4(1.0F), -glm::half_pi<float>(), glm::vec3(1, 0, 0)));
  scene->add(cube(0.5F), 0, moved(0, 1.5F, 0));
  return scene;
}

TEST(FinalLight, WhatHasEdgesIsWithFewSamplesNearWhatItIsWithMany) {
  struct Row {
    const char* name;
    std::shared_ptr<HandMadeScene> scene;
    double most;  // of the root mean square of what stored values are off by
  };
  for (const Row& row : {Row{"bars", withBars(unlit({1, 1, 1}), 0), 0.0078},
                         Row{"shadows", withBars(colored({0.4F, 0.4F, 0.4F}), 0.5F), 0.010},
                         Row{"highlights", polishedUnderLamp(), 0.0078}, Row{"texture", stripesUnderSky(), 0.0032}}) {
    SCOPED_TRACE(row.name);
    Renderer renderer(row.scene);
    renderer.pose(0.0);
    const auto drawn = [&](int samples, std::uint32_t seed) {
      return renderer.drawFinal(fromAbove(), kPlanSide, kPlanSide, {samples, seed});
    };
    const image::Image few = drawn(16, 1), many = drawn(128, 2);
    double sum = 0.0;
    for (std::ptrdiff_t i = 0; i < kPlanSide * kPlanSide; ++i) {
      const double off = few.row<float>(0)[3 * i] - many.row<float>(0)[3 * i];
      sum += off * off;
    }
    EXPECT_LT(std::sqrt(sum / (kPlanSide * kPlanSide)), row.most);
  }
}

// A fragment of chalk in front of the camera that so many samples met, all of which were followed all around.
LitFragment chalkSeen(float samples, float light = 0.1F, float albedo = 0.5F) {
  const glm::vec3 color(samples * albedo), sent = light * color;
  LitFragment fragment;
  fragment.faceNormal = {0, 0, 1};
  fragment.normal = {0, 0, samples};
  fragment.weight = fragment.depth = samples;
  fragment.albedo = fragment.coat = color;
  fragment.chalk = fragment.around = fragment.mirror = {sent, color};
  // Halves that agree, and numbers that do.
  fragment.chalkLight.all = fragment.aroundLight =
      fragment.mirrorLight = {light * samples, light * light * samples, samples, samples};
  fragment.chalkLight.later = 0.5F * light * samples;
  fragment.chalkLight.laterWeight = 0.5F * samples;
  return fragment;
}

LitPixel pixelOf(std::vector<LitFragment> fragments) {
  LitPixel pixel;
  for (const LitFragment& fragment : fragments) pixel.lit += fragment.weight;
  pixel.samples = pixel.lit;
  pixel.fragments = std::move(fragments);
  return pixel;
}

// What is shown of chalk alone, in the mean of all samples.
float chalkShown(const LitPixel& pixel) {
  float light = 0.0F;
  for (const LitFragment& fragment : pixel.fragments) {
    light += (fragment.albedo * fragment.chalk.alone(fragment.chalkLight.all.weight)).x;
  }
  return light / pixel.samples;
}

TEST(FinalLight, IsThatOfTheSamplesThatWereFollowedForItInTheColourOfAll) {
  LitFragment fragment = chalkSeen(16, 0.1F, 0.2F);
  fragment.chalk.add(glm::vec3(32 * 0.2F * 0.4F), glm::vec3(32 * 0.2F));  // 32 more stopped at lamps
  fragment.chalkLight.all.weight += 32;
  fragment.coat += glm::vec3(32 * 0.2F);
  fragment.albedo += glm::vec3(32 * 0.2F + 48 * 0.8F);  // 48 others told which surfaces there are
  fragment.weight = 96;
  LitPicture picture(1, 1);
  picture.at(0, 0) = pixelOf({fragment, LitFragment()});  // the other one can't be seen at all
  const glm::vec3 before = displayLight(picture.at(0, 0));
  ASSERT_EQ(smoothGrain(picture, 1, {}), Outcome::Complete);
  const glm::vec3 shown = displayLight(picture.at(0, 0));
  EXPECT_NEAR(shown.x, before.x, 1e-5F) << "alone, nothing is smoothed";
  EXPECT_NEAR(shown.x, viewed(glm::vec3(0.5F * (0.3F + 0.1F) + 0.2F * 0.1F)).x, 1e-4F);
}

TEST(FinalLight, SurfacesOfOnePixelAreSmoothedApart) {
  constexpr int kSide = 9, kMiddle = kSide / 2;
  LitPicture picture(kSide, kSide);
  picture.lampChoice = LampChoice::Places;
  for (int i = 0; i < kSide * kSide; ++i) {
    const float grain = i % 2 == 0 ? 0.1F : -0.1F;
    LitFragment bright = chalkSeen(i == kSide * kMiddle + kMiddle ? 4 : 8, 0.8F + grain),
                dark = chalkSeen(8, 0.2F - grain);
    dark.faceNormal = {1, 0, 0};
    dark.normal = 8.0F * dark.faceNormal;
    for (LitFragment* fragment : {&bright, &dark}) fragment->chalkLight.later *= 0.5F;  // they don't agree
    picture.pixels[static_cast<std::size_t>(i)] = pixelOf({bright, dark});
  }
  smoothGrain(picture, 1, {});
  EXPECT_NEAR(chalkShown(picture.at(kMiddle - 1, kMiddle)), 0.5F * 0.5F * (0.8F + 0.2F), 0.01F);
  EXPECT_NEAR(chalkShown(picture.at(kMiddle, kMiddle)), 0.5F * (4 * 0.8F + 8 * 0.2F) / 12, 0.01F) << "less of the one";
}

TEST(FinalLight, SamplesOfOneSurfaceAreOneFragmentAndThoseOfOthersAreNot) {
  const glm::vec3 up(0, 1, 0), aside = glm::normalize(glm::vec3(3, 1, 0));
  constexpr float kPixel = 0.1F;
  LitPixel pixel;
  EXPECT_EQ(pixel.fragmentOf(up, {0, 0, 0}, kPixel), 0);
  EXPECT_EQ(pixel.fragmentOf(up, {5, 0.02F, 7}, kPixel), 0) << "farther along the same plane";
  EXPECT_EQ(pixel.fragmentOf(glm::normalize(glm::vec3(0.3F, 1, 0)), {0, 0, 0}, kPixel), 0) << "a bend";
  EXPECT_EQ(pixel.fragmentOf(up, {0, -1, 0}, kPixel), 1) << "behind it";
  EXPECT_EQ(pixel.fragmentOf(aside, {0, 0, 0}, kPixel), 2) << "at its edge";
  ASSERT_EQ(pixel.fragments.size(), static_cast<std::size_t>(LitPixel::kMostFragments));
  EXPECT_EQ(pixel.fragmentOf(up, {0, -1.2F, 0}, kPixel), 1) << "no room: the one that it is most like";
  EXPECT_EQ(pixel.fragmentOf(up, {0, 0.2F, 0}, 10 * kPixel), 0) << "less apart than a large pixel";
}

TEST(FinalLight, TwoPartsOfItsSamplesTellItsErrorByHowMuchOfThemEachIs) {
  for (const auto& [later, error] : {std::pair(8, 0.25F), {4, 0.1875F}, {15, 0.0586F}}) {
    Halves halves;
    for (int i = 0; i < 16; ++i) halves.add(i < 16 - later ? 1.0F : 2.0F, 1.0F, i >= 16 - later);
    EXPECT_NEAR(halves.error(0.0F), error, 1e-4F) << later;
    EXPECT_NEAR(halves.error(1e3F), 1e3F * error / 15, 0.01F) << later << ", each as if it stood alone";
  }
}

// By which errors are told.
TEST(FinalLight, HalfOfAPixelsSamplesAreTheLaterHalf) {
  RayScene rays(greyGround());
  rays.pose(0.0);
  const scene::Camera above = fromAbove();
  for (const auto& [samples, later] : {std::pair(16, 8.0F), {3, 1.0F}, {1, 0.0F}}) {
    LitPicture picture(2, 2);
    const LightSources sources(rays, {}, 1.0F);
    const FinalShader shader(rays, sources, picture);
    const PictureRequest request{rays, above, 2, 2, {}, 1};
    drawPicture(request, PixelSampling::scattered(samples, 7), shader);
    const LitFragment& ground = picture.at(1, 0).fragments.at(0);
    EXPECT_EQ(ground.chalkLight.laterWeight, later) << samples;
    EXPECT_EQ(ground.evenLight.laterWeight, later) << samples;
    EXPECT_EQ(ground.chalkLight.all.weight, static_cast<float>(samples));
  }
}

// Further samples that only tell which surfaces a pixel shows are followed where one is met for the first time.
TEST(FinalLight, WhatOnlyFurtherSamplesMeetIsLitToo) {
  auto scene = greyGround();
  RayScene rays(scene);
  rays.pose(0.0);
  LitPicture picture(1, 1);
  const LightSources sources(rays, {}, 1.0F);
  const FinalShader shader(rays, sources, picture);
  const scene::Camera above = fromAbove();
  const CameraRays camera(above, 1, 1);
  const PictureRequest request{rays, above, 1, 1, {}, 1};
  const PixelSampling sampling = PixelSampling::further(kRays, kRays, 7);
  const PixelBlock block{sampling.block, 0, 0};
  LitPixel pixel;
  const auto follow = [&](FinalShader::Reach reach) {
    MetTriangle triangle;
    LayerTrace trace(request, camera, sampling, block, sampling.firstSamples(block), 0, triangle);
    while (trace.findNext()) trace.goOn(shader.shadeFurther(trace.layer(), BlockSums(&pixel), reach));
  };
  const auto weights = [&] {
    const LitFragment& ground = pixel.fragments.at(0);
    return glm::vec3(ground.weight, ground.chalkLight.all.weight, ground.aroundLight.weight);
  };
  follow(FinalShader::Reach::Camera);
  EXPECT_EQ(weights(), glm::vec3(16));
  follow(FinalShader::Reach::Camera);
  EXPECT_EQ(weights(), glm::vec3(32, 16, 16));
  follow(FinalShader::Reach::Lamps);
  EXPECT_EQ(weights(), glm::vec3(48, 32, 16));
  follow(FinalShader::Reach::All);
  EXPECT_EQ(weights(), glm::vec3(64, 48, 32));
  EXPECT_EQ(pixel.fragments.size(), 1U);
}

TEST(FinalPicture, HasNoSpeckWhereOneSampleWasBrightButKeepsWhatItsSamplesAgreeOn) {
  constexpr int kSide = 9, kMiddle = kSide / 2;
  using Member = ColoredLight LitFragment::*;
  // Of one fragment three times as bright as all others, of whose light of lamps `later` comes from the later half.
  const auto lightAt = [](int x, Member light, float later, LampChoice choice) {
    LitPicture picture(kSide, kSide);
    picture.lampChoice = choice;
    for (LitPixel& pixel : picture.pixels) pixel = pixelOf({chalkSeen(16)});
    LitFragment& bright = picture.at(x, kMiddle).fragments[0];
    if (light == &LitFragment::chalk) bright = chalkSeen(16, 0.3F);
    if (light != &LitFragment::chalk) (bright.*light).light *= 3.0F;
    bright.chalkLight.later = later * bright.chalkLight.all.first;
    if (later == 0.0F) bright.aroundLight.second = 2 * 16 * 0.16F;
    smoothGrain(picture, 1, {});
    const LitFragment& left = picture.at(x, kMiddle).fragments[0];
    return (left.*light).light.x / (left.*light).color.x;
  };
  const Member chalk = &LitFragment::chalk, around = &LitFragment::around, mirror = &LitFragment::mirror;
  constexpr float kOneSample = 0.0F, kNearly = 0.4F, kAgreed = 0.5F;
  for (const int x : {0, kMiddle}) {
    EXPECT_NEAR(lightAt(x, chalk, kOneSample, LampChoice::Lamps), 0.1F, 0.02F) << x;
    EXPECT_NEAR(lightAt(x, chalk, kNearly, LampChoice::Lamps), 0.22F, 0.03F) << "as far as they are certain";
    EXPECT_NEAR(lightAt(x, chalk, kNearly, LampChoice::None), 0.3F, 0.01F) << "of one lamp none is too bright";
    EXPECT_NEAR(lightAt(x, chalk, kAgreed, LampChoice::Lamps), 0.3F, 0.02F) << "a gap in a shadow";
    EXPECT_NEAR(lightAt(x, around, kOneSample, LampChoice::None), 0.1F, 0.01F) << x;
    EXPECT_NEAR(lightAt(x, around, kAgreed, LampChoice::Lamps), 0.1F, 0.02F)
        << "no gap lets so little of all around in";
    EXPECT_NEAR(lightAt(x, mirror, kAgreed, LampChoice::Lamps), 0.3F, 0.05F) << "a mirror may show a point";
  }
}

// How bright a highlight is says less than what the display shows of it.
TEST(FinalPicture, HighlightsBeyondTheDisplayAreSmoothedToo) {
  constexpr int kSide = 9, kMiddle = kSide / 2;
  LitPicture picture(kSide, kSide);
  for (int i = 0; i < kSide * kSide; ++i) {
    LitFragment fragment = chalkSeen(1, 0.1F, 1.0F);
    const float light = i % 2 == 0 ? 3.0F : 7.0F;
    fragment.mirror.light = glm::vec3(light);
    fragment.mirrorLight = {5, 29, 1, 2};  // mean 5, variance 4
    picture.pixels[static_cast<std::size_t>(i)] = pixelOf({fragment});
  }
  smoothGrain(picture, 1, {});
  EXPECT_NEAR(picture.at(kMiddle, kMiddle).fragments[0].mirror.light.x, 5.0F, 0.7F);
}

}  // namespace
}  // namespace quillmere::render
