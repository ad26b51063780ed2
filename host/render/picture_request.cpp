#include "picture_request.h"

#include <algorithm>
#include <new>
#include <string>

#include "renderer.h"

namespace quillmere::render {

image::Image blankPicture(const PictureRequest& request, image::Sample sample) {
  const std::string what =
      "cannot draw a picture of " + std::to_string(request.width) + " x " + std::to_string(request.height) + ": ";
  try {
    return {request.width, request.height, 3, sample};
  } catch (const std::bad_alloc&) {
    throw Error(what + "not enough memory; ask for a smaller one");
  } catch (const Error&) {
    throw Error(what + "each side must be 1 to " + std::to_string(image::kMaxSide) + " pixels");
  }
}

Outcome drawTiles(const PictureRequest& request, int side, const std::function<void(Tile)>& draw) {
  const int columns = (request.width + side - 1) / side;
  const int rows = (request.height + side - 1) / side;
  return forEach(columns * rows, request.threads, request.stop, [&](int index) {
    const int left = index % columns * side;
    const int top = index / columns * side;
    draw({left, top, std::min(left + side, request.width), std::min(top + side, request.height)});
  });
}

}  // namespace quillmere::render
