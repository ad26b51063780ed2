#include "c4d_basetime.h"

#include <cmath>
#include <limits>

namespace cinema {

namespace {

// Whole numbers beyond this have no exact double.
constexpr Float kLargest = 9007199254740992.0;

Float whole(Float value) {
  return std::isfinite(value) ? std::fmax(-kLargest, std::fmin(std::round(value), kLargest)) : 0.0;
}

Float commonDivisor(Float a, Float b) {
  while (b != 0.0) {
    const Float rest = std::fmod(a, b);
    a = b;
    b = rest;
  }
  return a;
}

}  // namespace

BaseTime::BaseTime() = default;

BaseTime::BaseTime(Float seconds) : BaseTime(seconds * 1000.0, 1000.0) {}

BaseTime::BaseTime(Float numerator, Float denominator)
    : numerator_(whole(numerator)), denominator_(whole(denominator)) {
  if (denominator_ == 0.0) denominator_ = 1.0;
  if (denominator_ < 0.0) {
    numerator_ = -numerator_;
    denominator_ = -denominator_;
  }
  const Float divisor = commonDivisor(std::fabs(numerator_), denominator_);
  numerator_ = numerator_ / divisor + 0.0;  // never -0
  denominator_ /= divisor;
}

Float BaseTime::Get() const {
  return numerator_ / denominator_;
}

Int32 BaseTime::GetFrame(Float fps) const {
  const Float frame = std::trunc(std::floor(numerator_ * fps) / denominator_);
  if (std::isnan(frame)) return 0;
  if (frame <= std::numeric_limits<Int32>::min()) return std::numeric_limits<Int32>::min();
  if (frame >= std::numeric_limits<Int32>::max()) return std::numeric_limits<Int32>::max();
  return static_cast<Int32>(frame);
}

Bool BaseTime::operator==(const BaseTime& other) const {
  return numerator_ == other.numerator_ && denominator_ == other.denominator_;
}
Bool BaseTime::operator!=(const BaseTime& other) const {
  return !(*this == other);
}

}  // namespace cinema
