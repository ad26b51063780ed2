#include "frame_file.h"

#include "base/atomic_file.h"
#include "image/file_formats.h"
#include "image/scaling.h"
#include "record/picture_record.h"

namespace quillmere::app {
namespace {

bool opaque(const image::Image& picture) {
  if (picture.channels() != 4 || picture.sample() != image::Sample::Float) return false;
  for (int y = 0; y < picture.height(); ++y) {
    const float* row = picture.row<float>(y);
    for (int x = 0; x < picture.width(); ++x) {
      if (row[x * 4 + 3] < 1.0F) return false;
    }
  }
  return true;
}

void write(const std::filesystem::path& file, FileFormat format, const image::Image& picture,
           const std::string& record) {
  const image::PngText text{record.empty() ? "" : kRecordKeyword, record};
  switch (format) {
    case FileFormat::Png8:
      return image::writePng(file, picture, image::PngDepth::As8Bit, text);
    case FileFormat::Png16:
      return image::writePng(file, picture, image::PngDepth::As16Bit, text);
    case FileFormat::Exr:
      image::writeExr(file, picture);
      if (!record.empty()) writeFile(file.string() + ".json", record + "\n");
  }
}

}  // namespace

void writeFrame(const std::filesystem::path& file, FileFormat format, const image::Image& picture,
                const std::string& record) {
  write(file, format, opaque(picture) ? image::withChannels(picture, 3) : picture, record);
}

}  // namespace quillmere::app
