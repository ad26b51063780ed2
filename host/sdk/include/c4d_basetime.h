#pragma once

#include "ge_prepass.h"

namespace cinema {

// A point in time as a reduced fraction of seconds.
class QM_HOST_API BaseTime {
 public:
  BaseTime();
  explicit BaseTime(Float seconds);                       // to the nearest millisecond
  explicit BaseTime(Float numerator, Float denominator);  // both to the nearest whole number; a denominator of 0 is 1

  Float Get() const;                // seconds
  Int32 GetFrame(Float fps) const;  // toward zero

  Bool operator==(const BaseTime& other) const;
  Bool operator!=(const BaseTime& other) const;

 private:
  Float numerator_ = 0.0;
  Float denominator_ = 1.0;
};

}  // namespace cinema
