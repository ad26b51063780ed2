// What final pictures do with the light of their samples: the surfaces of a pixel, and how their grain is smoothed.
#include "render/light_filter.h"

#include <gtest/gtest.h>

#include <cmath>

#include "render/color_encoding.h"
#include "render/light_sources.h"
#include "render/shaders.h"
#include "small_picture.h"

namespace quillmere::render {
namespace {

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

TEST(LightFilter, IsThatOfTheSamplesThatWereFollowedForItInTheColourOfAll) {
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

TEST(LightFilter, SurfacesOfOnePixelAreSmoothedApart) {
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

TEST(LightFilter, SamplesOfOneSurfaceAreOneFragmentAndThoseOfOthersAreNot) {
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

TEST(LightFilter, TwoPartsOfItsSamplesTellItsErrorByHowMuchOfThemEachIs) {
  for (const auto& [later, error] : {std::pair(8, 0.25F), {4, 0.1875F}, {15, 0.0586F}}) {
    Halves halves;
    for (int i = 0; i < 16; ++i) halves.add(i < 16 - later ? 1.0F : 2.0F, 1.0F, i >= 16 - later);
    EXPECT_NEAR(halves.error(0.0F), error, 1e-4F) << later;
    EXPECT_NEAR(halves.error(1e3F), 1e3F * error / 15, 0.01F) << later << ", each as if it stood alone";
  }
}

// By which errors are told.
TEST(LightFilter, HalfOfAPixelsSamplesAreTheLaterHalf) {
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
TEST(LightFilter, WhatOnlyFurtherSamplesMeetIsLitToo) {
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

TEST(LightFilter, HasNoSpeckWhereOneSampleWasBrightButKeepsWhatItsSamplesAgreeOn) {
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
TEST(LightFilter, HighlightsBeyondTheDisplayAreSmoothedToo) {
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
