#include "line_drawing.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "four.h"

namespace quillmere::render {
namespace {

// How far normals on both sides of a crease are apart, as the chord of their angle: from 23 degrees on a line begins to
// show, from 48 on it is drawn in full. Round things of sixteen sides stay without.
constexpr float kCrease = 0.40F, kSharpCrease = 0.81F;
// How deep a leap is, in heights of what the camera sees there.
constexpr float kLeap = 0.01F, kDeepLeap = 0.04F;
// Of what the depth changes beside a leap anyway, what doesn't count: water that is looked along is full of small
// leaps.
constexpr float kGrazing = 4.0F;

constexpr int kLanes = 4;       // of a Four
constexpr int kCacheLine = 16;  // floats, of most processors; more than LineSearch::kReach

constexpr int wholeLines(int floats) {
  return (floats + kCacheLine - 1) / kCacheLine * kCacheLine;
}

using Rows = std::array<LineRow, 2 * LineSearch::kReach + 1>;
enum class Axis { Across, Down };

Four fourAt(const float* values) {
  Four result;
  std::memcpy(&result, values, sizeof result);
  return result;
}

FourTests idsAt(const float* ids) {
  FourTests result;
  std::memcpy(&result, ids, sizeof result);
  return result;
}

bool any(FourTests tests) {
  std::array<std::uint64_t, 2> halves;
  std::memcpy(halves.data(), &tests, sizeof tests);
  return (halves[0] | halves[1]) != 0;
}

Four smaller(Four a, Four b) {
  return chosen(a < b, a, b);
}
Four larger(Four a, Four b) {
  return chosen(a < b, b, a);
}
Four absolute(Four value) {
  return larger(value, -value);
}
Four limited(Four value) {
  return smaller(larger(value, four(0.0F)), four(1.0F));
}

FourVectors operator-(const FourVectors& a, const FourVectors& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Four distance(const FourVectors& a, const FourVectors& b) {
  const FourVectors apart = a - b;
  return rootOf(dot(apart, apart));
}

// Pixels of a row from `x` on, and those around them along one axis.
template <Axis kAxis>
class Along {
 public:
  Along(const Rows& rows, int x) : rows_(rows), x_(x) {}

  FourVectors normals(int offset) const {
    const LineRow& row = rowAt(offset);
    const int x = columnAt(offset);
    return {fourAt(row.normals(x, 0)), fourAt(row.normals(x, 1)), fourAt(row.normals(x, 2))};
  }
  Four depths(int offset) const { return fourAt(rowAt(offset).depths(columnAt(offset))); }
  FourTests objects(int offset) const { return idsAt(rowAt(offset).objects(columnAt(offset))); }
  TwoObjects objectsOf(int offset, int lane) const { return rowAt(offset).objectsOf(columnAt(offset) + lane); }

 private:
  const LineRow& rowAt(int offset) const {
    const int row = LineSearch::kReach + (kAxis == Axis::Down ? offset : 0);
    return rows_[static_cast<std::size_t>(row)];
  }
  int columnAt(int offset) const { return kAxis == Axis::Across ? x_ + offset : x_; }

  const Rows& rows_;
  int x_;
};

// How much of a pixel's objects another one has as well.
float shared(const TwoObjects& one, const TwoObjects& other) {
  float sum = 0.0F;
  for (const std::size_t a : {0U, 1U}) {
    for (const std::size_t b : {0U, 1U}) {
      if (one.shares[a] > 0.0F && one.ids[a] == other.ids[b]) sum += std::min(one.shares[a], other.shares[b]);
    }
  }
  return sum;
}

// The share of one pixel whose object is another one, or none, in the other pixel.
float difference(const TwoObjects& one, const TwoObjects& other) {
  const float background = std::max(0.0F, 1.0F - one.shares[0] - one.shares[1]);
  const float otherBackground = std::max(0.0F, 1.0F - other.shares[0] - other.shares[1]);
  return std::max(0.0F, 1.0F - shared(one, other) - std::min(background, otherBackground));
}

FourTests areSeveral(FourTests objects) {
  return objects == FourTests{} + static_cast<int>(LineRow::kSeveral);
}

// Elsewhere one object goes on, or the background.
template <Axis kAxis>
FourTests hasBorder(const Along<kAxis>& pixels) {
  const FourTests before = pixels.objects(-1), behind = pixels.objects(1);
  return (before != behind) | areSeveral(before);
}

template <Axis kAxis>
Four bordersAt(const Along<kAxis>& pixels) {
  const FourTests before = pixels.objects(-1), behind = pixels.objects(1);
  Four borders = chosen(before != behind, four(1.0F), four(0.0F));
  const FourTests mixed = areSeveral(before) | areSeveral(behind);
  if (!any(mixed)) return borders;
  for (int lane = 0; lane < kLanes; ++lane) {
    if (mixed[lane] != 0) borders[lane] = difference(pixels.objectsOf(-1, lane), pixels.objectsOf(1, lane));
  }
  return borders;
}

// How much of a step of a value lies between a pixel's neighbours, when the value changes evenly on both sides of it:
// 0 to 1; `size` of the step goes from `least`, where it counts for nothing, to `full`.
Four stepBetween(Four near, Four wide, Four outside, Four least, Four full) {
  const Four part = limited((wide - least) / (full - least));
  const Four smooth = part * part * (3.0F - 2.0F * part);
  return chosen(wide > least, smooth * limited((near - outside) / wide), four(0.0F));
}

template <Axis kAxis>
Four bend(const Along<kAxis>& pixels) {
  const FourVectors apart = pixels.normals(2) - pixels.normals(-2);
  return dot(apart, apart);
}

template <Axis kAxis>
Four creasesAt(const Along<kAxis>& pixels) {
  const Four squared = bend(pixels);
  if (!any(squared > kCrease * kCrease)) return Four{};
  const Four outside =
      distance(pixels.normals(-3), pixels.normals(-2)) + distance(pixels.normals(2), pixels.normals(3));
  return stepBetween(distance(pixels.normals(-1), pixels.normals(1)), rootOf(squared), outside, four(kCrease),
                     four(kSharpCrease));
}

template <Axis kAxis>
Four leap(const Along<kAxis>& pixels) {
  return absolute(pixels.depths(-2) - pixels.depths(2));
}

// `unit` is the height of what the camera sees at the pixels.
template <Axis kAxis>
Four leapsAt(const Along<kAxis>& pixels, Four unit) {
  const Four whole = leap(pixels), least = kLeap * unit;
  if (!any(whole > least)) return Four{};
  const Four outside = absolute(pixels.depths(-3) - pixels.depths(-2)) + absolute(pixels.depths(2) - pixels.depths(3));
  return stepBetween(absolute(pixels.depths(-1) - pixels.depths(1)), whole - kGrazing * outside, outside, least,
                     kDeepLeap * unit);
}

// Of the two axes, as of the slope of a plane.
Four length(Four across, Four down) {
  return smaller(four(1.0F), rootOf(across * across + down * down));
}

// Whether any of that can be found: in few places of most pictures.
bool mayShowLines(const Along<Axis::Across>& across, const Along<Axis::Down>& down, Four unit) {
  return any(hasBorder(across) | hasBorder(down) | (larger(bend(across), bend(down)) > kCrease * kCrease) |
             (larger(leap(across), leap(down)) > kLeap * unit));
}

// Apart from the test, so that the compiler keeps that one small.
[[gnu::noinline]] Four linesAt(const Rows& rows, int x, Four unit) {
  const Along<Axis::Across> across(rows, x);
  const Along<Axis::Down> down(rows, x);
  const Four border = length(bordersAt(across), bordersAt(down));
  const Four crease = length(creasesAt(across), creasesAt(down));
  const Four leaps = chosen(unit > 0.0F, length(leapsAt(across, unit), leapsAt(down, unit)), four(0.0F));
  return larger(border, larger(crease, leaps));
}

}  // namespace

TwoObjects LineRow::objectsOf(int x) const {
  const auto object = std::bit_cast<std::uint32_t>(*objects(x));
  if (object == kSeveral) return several_[x];
  return {{object, 0}, {object == 0 ? 0.0F : 1.0F, 0.0F}};
}

void LineRow::repeatFirst() const {
  repeat(0, -LineSearch::kReach, 0);
}

// Fours that begin inside reach further.
void LineRow::repeatLast(int width) const {
  repeat(width - 1, width, width + LineSearch::kReach + kLanes - 1);
}

void LineRow::repeat(int from, int first, int behind) const {
  const bool several = std::bit_cast<std::uint32_t>(*objects(from)) == kSeveral;
  for (int x = first; x < behind; ++x) {
    for (int plane = 0; plane < kPlanes; ++plane) planes_[plane * stride_ + x] = planes_[plane * stride_ + from];
    if (several) several_[x] = several_[from];
  }
}

// Planes begin where lines of the cache do, an odd number of them apart: else those of some widths would all fall into
// the same few places of the cache.
LineRows::LineRows(int width, int rows)
    : stride_((kCacheLine + wholeLines(width + LineSearch::kReach + kLanes - 1)) | kCacheLine),
      planes_(static_cast<std::size_t>(LineRow::kPlanes * stride_ * rows)),
      several_(static_cast<std::size_t>(stride_ * rows)),
      first_(planes_.data() + kCacheLine),
      firstSeveral_(several_.data() + kCacheLine) {}

LineSearch::LineSearch(const scene::Camera& camera)
    : orthographic_(camera.orthographic),
      height_(orthographic_ ? 2.0F * camera.ymag : 2.0F * std::tan(0.5F * camera.yfov)) {}

Four LineSearch::linesFrom(const Rows& rows, int x) const {
  const Along<Axis::Across> across(rows, x);
  const Along<Axis::Down> down(rows, x);
  const Four depth = across.depths(0), seen = orthographic_ ? four(height_) : depth * height_;
  const Four unit = chosen(depth > 0.0F, seen, four(0.0F));
  return mayShowLines(across, down, unit) ? linesAt(rows, x, unit) : four(0.0F);
}

void LineSearch::draw(const Rows& rows, int width, float* lines) const {
  int x = 0;
  for (; x + kLanes <= width; x += kLanes) {
    const Four line = linesFrom(rows, x);
    std::memcpy(lines + x, &line, sizeof line);
  }
  if (x == width) return;
  const Four line = linesFrom(rows, x);
  std::memcpy(lines + x, &line, sizeof(float) * static_cast<std::size_t>(width - x));
}

}  // namespace quillmere::render
