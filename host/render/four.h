#pragma once

#include <cmath>
#include <glm/glm.hpp>

// Numbers and vectors of four points at once, in the compiler's own vector types: g++ and clang have them on any
// processor.
namespace quillmere::render {

using Four = float __attribute__((vector_size(16)));
using FourTests = int __attribute__((vector_size(16)));  // -1 where a comparison of Fours holds, else 0

constexpr Four four(float value) {
  return Four{value, value, value, value};
}

inline Four rootOf(Four value) {
  for (int i = 0; i < 4; ++i) value[i] = std::sqrt(value[i]);
  return value;
}

struct FourVectors {
  Four x, y, z;

  static FourVectors of(glm::vec3 vector) { return {four(vector.x), four(vector.y), four(vector.z)}; }
  glm::vec3 operator[](int i) const { return {x[i], y[i], z[i]}; }
};

inline FourVectors operator+(const FourVectors& a, const FourVectors& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline FourVectors operator*(Four factor, const FourVectors& a) {
  return {factor * a.x, factor * a.y, factor * a.z};
}
inline FourVectors operator*(const glm::mat3& matrix, const FourVectors& a) {
  return a.x * FourVectors::of(matrix[0]) + a.y * FourVectors::of(matrix[1]) + a.z * FourVectors::of(matrix[2]);
}
inline Four dot(const FourVectors& a, const FourVectors& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Four chosen(FourTests tests, Four where, Four otherwise) {
  return tests ? where : otherwise;
}
inline FourVectors chosen(FourTests tests, const FourVectors& where, const FourVectors& otherwise) {
  return {chosen(tests, where.x, otherwise.x), chosen(tests, where.y, otherwise.y),
          chosen(tests, where.z, otherwise.z)};
}

}  // namespace quillmere::render
