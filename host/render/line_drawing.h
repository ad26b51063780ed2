#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <glm/glm.hpp>
#include <vector>

#include "four.h"
#include "image/image.h"
#include "scene/scene.h"

namespace quillmere::render {

// The two objects that cover most of a pixel, by falling share of it; 0 for none.
struct TwoObjects {
  std::array<std::uint32_t, 2> ids;  // see image::matteId
  std::array<float, 2> shares;
};

// A row of pixels that lines are found in: planes of numbers, one behind the other.
class LineRow {
 public:
  static constexpr std::uint32_t kSeveral = 0xFFFFFFFFU;  // in place of an object's id, of which it is none

  LineRow() = default;
  LineRow(float* planes, TwoObjects* several, std::ptrdiff_t stride)
      : planes_(planes), several_(several), stride_(stride) {}

  // The mean normal of a pixel times its coverage, and a measure of its depth that changes evenly along planes: 1 /
  // depth for a perspective camera, else the depth, in metres; 0 where nothing is seen.
  void put(int x, glm::vec3 normal, float evenDepth, const TwoObjects& objects) const {
    float* const at = planes_ + x;
    at[0] = normal.x;
    at[stride_] = normal.y;
    at[2 * stride_] = normal.z;
    at[3 * stride_] = evenDepth;
    const bool one = objects.shares[1] == 0.0F && (objects.shares[0] == 1.0F || objects.shares[0] == 0.0F);
    at[4 * stride_] = std::bit_cast<float>(one ? objects.ids[0] : kSeveral);
    if (!one) several_[x] = objects;
  }
  // The same for pixels `x` and `x` + 1 that show one object and nothing else; what they have stands in fours, from
  // `lane` on, 0 or 2.
  void putTwo(int x, const FourVectors& normals, const Four& evenDepths, std::uint32_t object, int lane) const {
    const auto put = [&](int plane, const Four& values) {
      std::memcpy(planes_ + plane * stride_ + x, reinterpret_cast<const float*>(&values) + lane, 2 * sizeof(float));
    };
    put(0, normals.x);
    put(1, normals.y);
    put(2, normals.z);
    put(3, evenDepths);
    put(4, four(std::bit_cast<float>(object)));
  }
  // Repeats the outermost of `width` pixels beyond the edges of the picture, as far as lines are looked for.
  void repeatFirst() const;
  void repeatLast(int width) const;

  // From the pixel `x` on:
  const float* normals(int x, int axis) const { return planes_ + axis * stride_ + x; }
  const float* depths(int x) const { return planes_ + 3 * stride_ + x; }
  const float* objects(int x) const { return planes_ + 4 * stride_ + x; }  // ids of 32 bits, or kSeveral
  TwoObjects objectsOf(int x) const;

 private:
  friend class LineRows;

  static constexpr int kPlanes = 5;
  void repeat(int from, int first, int behind) const;

  float* planes_ = nullptr;
  TwoObjects* several_ = nullptr;
  std::ptrdiff_t stride_ = 0;
};

// Some rows one below the other.
class LineRows {
 public:
  // Leaves them unset. Throws std::bad_alloc.
  LineRows(int width, int rows);
  LineRow row(int y) { return {first_ + LineRow::kPlanes * stride_ * y, firstSeveral_ + stride_ * y, stride_}; }

 private:
  template <class T>
  using Memory = std::vector<T, image::PixelAllocator<T>>;

  std::ptrdiff_t stride_;
  Memory<float> planes_;
  Memory<TwoObjects> several_;  // of few pixels: most of it is never touched
  float* first_;
  TwoObjects* firstSeveral_;
};

// Finds lines: where objects border on each other and on the background; where the depth of one object leaps; and where
// its surface is creased. They are about two pixels wide and as smooth as the rows are.
class LineSearch {
 public:
  static constexpr int kReach = 3;  // rows, and pixels, on each side of what is looked at

  explicit LineSearch(const scene::Camera& camera);
  // Draws white lines on black into `lines`, `width` floats, from a row and those around it; beyond the picture's edge
  // its outermost row goes on.
  void draw(const std::array<LineRow, 2 * kReach + 1>& rows, int width, float* lines) const;

 private:
  // Of the four pixels from `x` on.
  Four linesFrom(const std::array<LineRow, 2 * kReach + 1>& rows, int x) const;

  bool orthographic_;
  float height_;  // of what the camera sees at a depth of 1 m, or at any, in metres
};

}  // namespace quillmere::render
