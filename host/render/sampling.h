#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <glm/glm.hpp>
#include <glm/gtc/constants.hpp>

// Numbers that look random but spread evenly and are the same everywhere: they depend on their arguments only.
namespace quillmere::render {

// A well-mixed number from any number (Wellons' lowbias32, https://nullprogram.com/blog/2018/07/31/).
inline std::uint32_t mixed(std::uint32_t x) {
  x = (x ^ (x >> 16)) * 0x7feb352dU;
  x = (x ^ (x >> 15)) * 0x846ca68bU;
  return x ^ (x >> 16);
}

// 0 to just below 1.
inline float unitFloat(std::uint32_t bits) {
  return static_cast<float>(bits >> 8) * 0x1p-24F;
}

inline std::uint32_t reversedBits(std::uint32_t x) {
  x = ((x >> 1) & 0x55555555U) | ((x & 0x55555555U) << 1);
  x = ((x >> 2) & 0x33333333U) | ((x & 0x33333333U) << 2);
  x = ((x >> 4) & 0x0f0f0f0fU) | ((x & 0x0f0f0f0fU) << 4);
  x = ((x >> 8) & 0x00ff00ffU) | ((x & 0x00ff00ffU) << 8);
  return std::rotl(x, 16);
}

// Owen's scrambling as a hash of a number whose bits are reversed (B. Burley, Practical Hash-based Owen Scrambling,
// JCGT 9/4, 2020).
inline std::uint32_t owenScrambled(std::uint32_t x, std::uint32_t seed) {
  x += seed;
  x ^= x * 0x6c50b47cU;
  x ^= x * 0xb82f1e52U;
  x ^= x * 0xc7afe638U;
  return x ^ (x * 0x8d22f6e6U);
}

// The second dimension of Sobol's sequence, bits reversed: of a polynomial over bits, the same in x + 1.
inline std::uint32_t secondDimension(std::uint32_t x) {
  x ^= x >> 16;
  x ^= (x >> 8) & 0x00ff00ffU;
  x ^= (x >> 4) & 0x0f0f0f0fU;
  x ^= (x >> 2) & 0x33333333U;
  return x ^ ((x >> 1) & 0x55555555U);
}

// The `index`-th of a sequence of points in the unit square of which any first 2^n are stratified; sequences of
// different seeds are independent.
inline glm::vec2 samplePoint(std::uint32_t index, std::uint32_t seed) {
  const std::uint32_t shuffled = reversedBits(owenScrambled(reversedBits(index), mixed(seed)));
  return {unitFloat(reversedBits(owenScrambled(shuffled, mixed(seed + 1)))),
          unitFloat(reversedBits(owenScrambled(secondDimension(shuffled), mixed(seed + 2))))};
}

// Sixteen points of that sequence at once: in vector code, which takes an eighth of the time where there is AVX2. They
// are the same everywhere, as nothing of it rounds.
struct SamplePoints {
  glm::vec2 operator[](int i) const { return {x[i], y[i]}; }

  float x[16], y[16];
};
void findSamplePoints(const std::uint32_t (&indices)[16], std::uint32_t seed, SamplePoints& points);
// Sixteen well-mixed numbers.
void findRandomBits(const std::uint32_t (&indices)[16], std::uint32_t seed, std::uint32_t (&bits)[16]);

// Two unit vectors across a unit vector and across each other (Duff et al., Building an Orthonormal Basis, Revisited,
// JCGT 6/1, 2017).
struct Across {
  glm::vec3 u, v;
};
inline Across across(glm::vec3 n) {
  const float sign = std::copysign(1.0F, n.z);
  const float a = -1.0F / (sign + n.z);
  const float b = n.x * n.y * a;
  return {{1.0F + sign * n.x * n.x * a, sign * b, -sign * n.x}, {b, sign + n.y * n.y * a, -n.y}};
}

// Cosine and sine of a share of a turn, 0-1, to six digits: by polynomials, as directions are made for every ray.
inline glm::vec2 onCircle(float turn) {
  const float quarters = 4.0F * turn;
  const int quarter = static_cast<int>(quarters);
  const float angle = (quarters - static_cast<float>(quarter) - 0.5F) * glm::half_pi<float>(), square = angle * angle;
  const float sine = angle * (1.0F - square * (1.0F / 6 - square * (1.0F / 120 - square * (1.0F / 5040))));
  const float cosine = 1.0F - square * (0.5F - square * (1.0F / 24 - square * (1.0F / 720 - square * (1.0F / 40320))));
  const glm::vec2 middle = glm::vec2(cosine - sine, cosine + sine) * glm::one_over_root_two<float>();
  const glm::vec2 turned = (quarter & 1) != 0 ? glm::vec2(-middle.y, middle.x) : middle;
  return (quarter & 2) != 0 ? -turned : turned;
}

// A point of the unit disc, evenly spread.
inline glm::vec2 onDisc(glm::vec2 sample) {
  return std::sqrt(sample.x) * onCircle(sample.y);
}

// A direction around `normal`, denser near it as its cosine.
inline glm::vec3 overHemisphere(glm::vec3 normal, glm::vec2 sample) {
  const glm::vec2 disc = onDisc(sample);
  const Across axes = across(normal);
  const float height = std::sqrt(std::max(0.0F, 1.0F - glm::dot(disc, disc)));
  return axes.u * disc.x + axes.v * disc.y + normal * height;
}

}  // namespace quillmere::render
