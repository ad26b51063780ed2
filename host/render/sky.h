#pragma once

#include <glm/glm.hpp>

namespace quillmere::render {

// A clear sky over pale ground, the same for every scene: Y is up, directions are of unit length.
class Sky {
 public:
  // Scene radiance of the sky in a direction, `strength` times that of a clear day.
  explicit Sky(float strength) : strength_(strength) {}
  glm::vec3 radiance(glm::vec3 direction) const;
  // A stand-in for light that has bounced around more often than rays are followed.
  glm::vec3 ambient() const;

  // Light of the display where the camera sees nothing else.
  glm::vec3 backdrop(glm::vec3 direction) const;

 private:
  float strength_;
};

}  // namespace quillmere::render
