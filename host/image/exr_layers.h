#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "image/image.h"

namespace quillmere::image {

// What a compositor reads from one EXR file. Planes are Float, of one size, and stored as they stand.
struct ExrLayers {
  struct Channel {
    std::string name;  // "R", or with its layer's: "N.X"
    const Image* plane;
    int index;  // of the plane's channels
  };
  // How the picture sees the world: matrices for row vectors, row by row, as the format defines them. The camera's
  // space is left-handed, x to the right, y up, z ahead; the picture's goes from (0, 0) at its top left to (1, 1).
  struct View {
    std::array<float, 16> worldToCamera, worldToPicture;
    float width;  // of what is seen, 1 m ahead for a perspective camera
  };

  std::vector<Channel> channels;  // at least one
  View view;
  std::vector<std::pair<std::string, std::string>> texts;  // of the header: key and value
};

}  // namespace quillmere::image
