#pragma once

#include <cstddef>
#include <glm/glm.hpp>
#include <vector>

// What the light of a picture's pixels adds up to, apart by what sends it and by how it may be smoothed.
namespace quillmere::render {

// Of some numbers, one a sample, each counted by its share of the sample.
struct Moments {
  float first = 0.0F, second = 0.0F, weight = 0.0F, count = 0.0F;

  void add(float value, float share) {
    first += share * value;
    second += share * value * value;
    weight += share;
    count += 1.0F;
  }
  // The variance of their mean; of one number alone as if it might as well be nothing.
  float error() const;
};

// Of numbers whose samples are stratified: two halves of them tell their error better than all of them as if each
// stood alone, but may agree by chance.
struct Halves {
  Moments all;
  float later = 0.0F, laterWeight = 0.0F;

  void add(float value, float share, bool isLater) {
    all.add(value, share);
    later += isLater ? share * value : 0.0F;
    laterWeight += isLater ? share : 0.0F;
  }
  float earlierWeight() const { return all.weight - laterWeight; }
  float error(float least) const;  // as above; at least that share of what it would be if each stood alone
};

// Light that a surface sends, and the colour that it is free of noise but for.
struct ColoredLight {
  glm::vec3 light{0.0F}, color{0.0F};

  void add(glm::vec3 share, glm::vec3 colorOfShare) {
    light += share;
    color += colorOfShare;
  }
  // The light without the colour, which tells nothing where it is black; `weight` is that of what was added.
  glm::vec3 alone(float weight) const;
};

// What one surface brings to a pixel (L. Carpenter, The A-buffer, an Antialiased Hidden Surface Method, 1984). Sums
// over samples, of each its share of one.
struct LitFragment {
  glm::vec3 faceNormal{0.0F}, place{0.0F};  // of the first sample; metres
  float weight = 0.0F;                      // of all samples
  glm::vec3 albedo{0.0F};                   // colour of its chalk
  glm::vec3 normal{0.0F}, position{0.0F};   // position, depth: metres
  float depth = 0.0F;
  Halves evenLight;  // what the display shows of it under even light
  // Of the samples that were followed to lamps: what comes straight from lamps and emitters.
  ColoredLight chalk;
  Halves chalkLight;     // its luminance, without the colour
  glm::vec3 coat{0.0F};  // colour of the coat that mirrors
  // Of the samples that were followed all around: what comes from there, and what is mirrored.
  ColoredLight around, mirror;
  Moments aroundLight, mirrorLight;
  float closeness = 0.0F;  // of what is around, 1/metres

  glm::vec3 meanCoat() const;
};

// Sums over samples.
struct LitPixel {
  static constexpr int kMostFragments = 3;  // further surfaces count as those that they are most like

  std::vector<LitFragment> fragments;
  glm::vec3 emission{0.0F};  // light that needs no smoothing
  glm::vec3 own{0.0F};       // light of the display, which takes no part in exposure and view transform
  float lit = 0.0F;          // of the samples all but what `own` stands for
  float samples = 0.0F;
  Halves ownLight;  // what the display shows of all else than fragments

  // The index of the fragment of a surface with that normal at `place`, where a pixel covers `size`, in metres: a new
  // one where none is like it.
  int fragmentOf(glm::vec3 faceNormal, glm::vec3 place, float size);
};

// What each sample of chalk's light is chosen from by chance.
enum class LampChoice {
  None,    // there is one lamp at most
  Lamps,   // several
  Places,  // on emitters, which are of very different brightness
};

// A picture of them, row by row.
struct LitPicture {
  LitPicture(int across, int down)
      : width(across), height(down), pixels(static_cast<std::size_t>(across) * static_cast<std::size_t>(down)) {}

  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  }
  LitPixel& at(int x, int y) { return pixels[index(x, y)]; }
  const LitPixel& at(int x, int y) const { return const_cast<LitPicture&>(*this).at(x, y); }

  int width, height;
  LampChoice lampChoice = LampChoice::None;
  std::vector<LitPixel> pixels;
};

}  // namespace quillmere::render
