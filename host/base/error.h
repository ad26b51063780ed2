#pragma once

#include <stdexcept>

namespace quillmere {

// Something that can't be read, made, drawn or written. what() names the thing, the reason and, where there is one, the
// remedy; where a declaration says "the reason alone", its caller puts the thing in front. Crosses from the host's
// library into programs, so it is the same type on both sides.
class __attribute__((visibility("default"))) Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace quillmere
