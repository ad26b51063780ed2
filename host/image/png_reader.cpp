#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstring>

#include "decoding.h"
#include "sample_values.h"

namespace quillmere::image {

namespace {

// Text and colour profiles can be as long as they like; we have no use for them, and no memory.
constexpr png_byte kSkippedChunks[] = "tEXt\0zTXt\0iTXt\0iCCP\0sPLT\0eXIf\0hIST";
constexpr int kSkippedCount = sizeof(kSkippedChunks) / 5;
constexpr png_alloc_size_t kMaxChunkBytes = 64U << 20U;
// What deflate can make of a byte at most.
constexpr std::uint64_t kMaxDeflateRatio = 1032;

// libpng leaves a call by a long jump when it fails. So the functions that call it are members that hold nothing with
// a destructor; they return false then, and the reason is in `message`.
class PngReader {
 public:
  explicit PngReader(Bytes file) : rest_(file) {}
  ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  bool readHeader();
  // Palettes, packed bits and transparent colours become whole samples.
  bool expand();
  bool readPixels(png_bytep* rows);

  png_uint_32 width() const { return png_get_image_width(png_, info_); }
  png_uint_32 height() const { return png_get_image_height(png_, info_); }
  int channels() const { return png_get_channels(png_, info_); }
  Sample sample() const { return png_get_bit_depth(png_, info_) == 16 ? Sample::Word : Sample::Byte; }
  const char* message() const { return message_; }

 private:
  static void fail(png_structp png, png_const_charp message) {
    auto& self = *static_cast<PngReader*>(png_get_error_ptr(png));
    std::strncpy(self.message_, message, sizeof(self.message_) - 1);
    std::longjmp(self.escape_, 1);
  }
  static void ignore(png_structp, png_const_charp) {}
  static void feed(png_structp png, png_bytep to, std::size_t count) {
    auto& self = *static_cast<PngReader*>(png_get_io_ptr(png));
    if (count > self.rest_.size()) png_error(png, "it ends too early");
    std::memcpy(to, self.rest_.data(), count);
    self.rest_ = self.rest_.subspan(count);
  }
  void limit();

  Bytes rest_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  std::jmp_buf escape_;
  char message_[256] = {};
};

void PngReader::limit() {
  png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // ours come with better words
  png_set_chunk_malloc_max(png_, kMaxChunkBytes);
  png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks, kSkippedCount);
  png_set_option(png_, PNG_IGNORE_ADLER32, PNG_OPTION_ON);  // the chunks' own checksums tell damage as well
}

bool PngReader::expand() {
  if (setjmp(escape_) != 0) return false;
  png_set_expand(png_);
  if constexpr (std::endian::native == std::endian::little) png_set_swap(png_);
  png_set_interlace_handling(png_);
  png_read_update_info(png_, info_);
  return true;
}

bool PngReader::readHeader() {
  if (setjmp(escape_) != 0) return false;
  png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, ignore);
  info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
  if (info_ == nullptr) return false;
  png_set_read_fn(png_, this, feed);
  limit();
  png_read_info(png_, info_);
  return true;
}

bool PngReader::readPixels(png_bytep* rows) {
  if (setjmp(escape_) != 0) return false;
  png_read_image(png_, rows);
  // Only the end tells whether the last rows are sound.
  png_read_end(png_, nullptr);
  return true;
}

}  // namespace

bool looksLikePng(Bytes file) {
  return startsWith(file, "\x89PNG\r\n\x1a\n");
}

Image decodePng(Bytes file) {
  PngReader reader(file);
  if (!reader.readHeader()) throwDamaged(reader.message());
  checkClaimedSize(reader.width(), reader.height());
  // A bit a pixel is the least that a format of PNG takes.
  if (std::uint64_t{reader.width()} * reader.height() / 8 > file.size() * kMaxDeflateRatio) {
    throwDamaged("it is too short for the size that it claims");
  }
  if (!reader.expand()) throwDamaged(reader.message());
  Image picture =
      pictureOfClaimedSize(reader.width(), reader.height(), reader.channels(), reader.sample(), Filling::None);
  std::vector<png_bytep> rows(static_cast<std::size_t>(picture.height()));
  withSampleType(picture.sample(), [&](auto type) {
    if constexpr (std::is_same_v<decltype(type), float>)
      return;
    else
      for (int y = 0; y < picture.height(); ++y) {
        rows[static_cast<std::size_t>(y)] = reinterpret_cast<png_bytep>(picture.row<decltype(type)>(y));
      }
  });
  if (!reader.readPixels(rows.data())) throwDamaged(reader.message());
  return picture;
}

}  // namespace quillmere::image
