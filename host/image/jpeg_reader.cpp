#include <cstdio>
// jpeglib.h needs the line above it.
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <csetjmp>
#include <vector>

#include "image/codecs.h"

namespace quillmere::image {

namespace {

// Real progressive files have about ten; a hostile one makes every scan of a huge picture cost a second.
constexpr int kMaxScans = 100;
constexpr std::uint64_t kMaxScannedPixels = std::uint64_t{4} << 30U;  // of all scans: some seconds of work
// A block of 64 takes a bit at least; the arithmetic codes, which take less, are used by nobody.
constexpr std::uint64_t kMaxPixelsOfByte = 512;
constexpr int kCmykChannels = 4;

// Warnings after which the library would go on with made-up pixels.
bool meansDamage(int warning) {
  switch (warning) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_MUST_RESYNC:
      return true;
    default:
      return false;
  }
}

// The library must not come back from an error, so it leaves by a long jump, past all that stands in between. So what
// calls it is handed to call(), and holds nothing with a destructor.
class JpegReader {
 public:
  JpegReader();
  ~JpegReader() { jpeg_destroy_decompress(&info_); }
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;

  // All throw Error.
  void readHeader(Bytes file);
  void start();
  void readRow(std::uint8_t* row) {
    call([&] { jpeg_read_scanlines(&info_, &row, 1); });
  }
  void readEnd() {
    call([&] { jpeg_finish_decompress(&info_); });
  }

  // Inks are stored as the light they leave where an Adobe marker stands.
  bool inksInverted() const { return info_.saw_Adobe_marker != 0; }
  std::uint64_t width() const { return info_.image_width; }
  std::uint64_t height() const { return info_.image_height; }
  std::uint64_t pixels() const { return width() * height(); }
  // After start().
  int channels() const { return info_.output_components; }

 private:
  template <class Calls>
  void call(Calls&& calls) {
    if (setjmp(escape_) != 0)
      throwDamaged(message_);
    else
      calls();
  }
  static JpegReader& of(j_common_ptr info) { return *static_cast<JpegReader*>(info->client_data); }
  static void fail(j_common_ptr info) {
    info->err->format_message(info, of(info).message_);
    std::longjmp(of(info).escape_, 1);
  }
  static void listen(j_common_ptr info, int level) {
    if (level < 0 && meansDamage(info->err->msg_code)) fail(info);
  }
  static void print(j_common_ptr) {}
  static void watchScans(j_common_ptr info) {
    const int scans = reinterpret_cast<j_decompress_ptr>(info)->input_scan_number;
    const std::uint64_t most = std::min<std::uint64_t>(kMaxScans, kMaxScannedPixels / (of(info).pixels() + 1));
    if (scans <= static_cast<int>(std::max<std::uint64_t>(most, 1))) return;
    std::snprintf(of(info).message_, sizeof(message_), "it has more than %d scans", static_cast<int>(most));
    std::longjmp(of(info).escape_, 1);
  }

  jpeg_decompress_struct info_ = {};
  jpeg_error_mgr errors_ = {};
  jpeg_progress_mgr progress_ = {};
  std::jmp_buf escape_;
  char message_[JMSG_LENGTH_MAX] = {};
};

JpegReader::JpegReader() {
  info_.err = jpeg_std_error(&errors_);
  info_.client_data = this;
  errors_.error_exit = fail;
  errors_.emit_message = listen;
  errors_.output_message = print;
  progress_.progress_monitor = watchScans;
}

void JpegReader::readHeader(Bytes file) {
  call([&] {
    jpeg_create_decompress(&info_);
    info_.progress = &progress_;
    info_.mem->max_memory_to_use = static_cast<long>(kMaxPictureBytes);
    jpeg_mem_src(&info_, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info_, TRUE);
  });
}

void JpegReader::start() {
  if (info_.jpeg_color_space == JCS_GRAYSCALE)
    info_.out_color_space = JCS_GRAYSCALE;
  else if (info_.jpeg_color_space == JCS_CMYK || info_.jpeg_color_space == JCS_YCCK)
    info_.out_color_space = JCS_CMYK;
  else
    info_.out_color_space = JCS_RGB;
  call([&] { jpeg_start_decompress(&info_); });
}

void inksToLight(const std::uint8_t* inks, bool inverted, std::uint8_t* rgb, int width) {
  const auto light = [&](std::uint8_t ink) { return inverted ? unsigned{ink} : 255U - ink; };
  for (int x = 0; x < width; ++x, inks += kCmykChannels, rgb += 3) {
    for (int c = 0; c < 3; ++c) rgb[c] = static_cast<std::uint8_t>((light(inks[c]) * light(inks[3]) + 127) / 255);
  }
}

}  // namespace

bool looksLikeJpeg(Bytes file) {
  return startsWith(file, "\xff\xd8\xff");
}

// The orientation that a camera notes in its metadata is not followed: textures of a scene must stay as they are
// stored, and generated pictures have none.
Image decodeJpeg(Bytes file) {
  JpegReader reader;
  reader.readHeader(file);
  checkClaimedSize(reader.width(), reader.height());
  if (reader.pixels() > file.size() * kMaxPixelsOfByte) throwDamaged("it is too short for the size that it claims");
  reader.start();
  const bool inks = reader.channels() == kCmykChannels;
  Image picture = pictureOfClaimedSize(reader.width(), reader.height(), inks ? 3 : reader.channels(), Sample::Byte);
  std::vector<std::uint8_t> line(inks ? static_cast<std::size_t>(picture.width()) * kCmykChannels : 0);
  for (int y = 0; y < picture.height(); ++y) {
    auto* row = picture.row<std::uint8_t>(y);
    reader.readRow(inks ? line.data() : row);
    if (inks) inksToLight(line.data(), reader.inksInverted(), row, picture.width());
  }
  reader.readEnd();
  return picture;
}

}  // namespace quillmere::image
