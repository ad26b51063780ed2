#include "thumbnails.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "image/file_formats.h"
#include "image/scaling.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

image::Image scaledDown(const image::Image& picture) {
  const double share =
      std::min(1.0, static_cast<double>(Thumbnails::kLongestSide) / std::max(picture.width(), picture.height()));
  const auto side = [&](int pixels) { return std::max(1, static_cast<int>(std::lround(pixels * share))); };
  return image::scaleBicubic(picture, {0, 0, picture.width(), picture.height()}, side(picture.width()),
                             side(picture.height()));
}

// Named by where it lies in what is said of it, too.
image::Image pictureIn(const HeldFile& file) {
  try {
    return image::read(file.content());
  } catch (const Error&) {
    throw Error("no small picture can be made of '" + file.place().string() + "': it can't be read as one");
  }
}

}  // namespace

WebPicture Thumbnails::of(const HeldFile& file, const std::string& id, const std::string& stamp) {
  const fs::path kept = folder_ / (id + "-" + stamp + ".png");
  std::error_code error;
  const std::lock_guard lock(mutex_);
  if (!fs::is_regular_file(fs::symlink_status(kept, error))) {
    fs::create_directories(folder_, error);
    image::writePng(kept, scaledDown(pictureIn(file)));
  }
  return webPictureOf(kept);
}

}  // namespace quillmere::studio
