#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstring>
#include <vector>

#include "image/codecs.h"
#include "image/png_rows.h"

namespace quillmere::image {

namespace {

// libpng leaves a call by a long jump when it fails, past all that stands in between. So what calls it is handed to
// call(), and holds nothing with a destructor.
class PngCalls {
 public:
  PngCalls(const PngCalls&) = delete;
  PngCalls& operator=(const PngCalls&) = delete;

 protected:
  using Refuse = void (*)(const std::string& reason);  // throws
  explicit PngCalls(Refuse refuse) : refuse_(refuse) {}
  ~PngCalls() = default;

  template <class Calls>
  void call(Calls&& calls) {
    if (setjmp(escape_) != 0)
      refuse_(message_);
    else
      calls();
  }

  // The functions of the library that make a structure for reading or writing have the same arguments.
  template <class Create>
  void create(Create&& createStruct) {
    png_ = createStruct(PNG_LIBPNG_VER_STRING, this, fail, ignore);
    info_ = png_create_info_struct(png_);
    if (info_ == nullptr) std::longjmp(escape_, 1);
  }

  png_structp png_ = nullptr;
  png_infop info_ = nullptr;

 private:
  static void fail(png_structp png, png_const_charp message) {
    auto& self = *static_cast<PngCalls*>(png_get_error_ptr(png));
    std::strncpy(self.message_, message, sizeof(self.message_) - 1);
    std::longjmp(self.escape_, 1);
  }
  static void ignore(png_structp, png_const_charp) {}

  Refuse refuse_;
  std::jmp_buf escape_;
  char message_[256] = "there is not enough memory";
};

// Texts and colour profiles can be as long as they like; who wants pixels has no use for them, and no memory.
constexpr png_byte kTextChunks[] = "tEXt\0zTXt\0iTXt";
constexpr png_byte kOtherChunks[] = "iCCP\0sPLT\0eXIf\0hIST";
constexpr int kNameBytes = 5;
constexpr png_alloc_size_t kMaxChunkBytes = 64U << 20U;
constexpr png_alloc_size_t kMaxTextBytes = 32U << 20U;
// What deflate can make of a byte at most.
constexpr std::uint64_t kMaxDeflateRatio = 1032;

class PngReader : PngCalls {
 public:
  explicit PngReader(Bytes file) : PngCalls(throwDamaged), rest_(file) {}
  ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }

  // What stands before the pixels, with or without the texts.
  void readHeader();
  void readText();
  // Palettes, packed bits and transparent colours become whole samples.
  void expand();
  void readPixels(png_bytep* rows);

  png_uint_32 width() const { return png_get_image_width(png_, info_); }
  png_uint_32 height() const { return png_get_image_height(png_, info_); }
  int channels() const { return png_get_channels(png_, info_); }
  Sample sample() const { return png_get_bit_depth(png_, info_) == 16 ? Sample::Word : Sample::Byte; }
  // The first one; valid as long as this lives, null when there is none.
  const char* text() const;

 private:
  static void feed(png_structp png, png_bytep to, std::size_t count) {
    auto& self = *static_cast<PngReader*>(png_get_io_ptr(png));
    if (count > self.rest_.size()) png_error(png, "it ends too early");
    std::memcpy(to, self.rest_.data(), count);
    self.rest_ = self.rest_.subspan(count);
  }
  void open(png_alloc_size_t mostBytesOfChunk);
  template <std::size_t size>
  void skip(const png_byte (&chunks)[size]) {
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, chunks, size / kNameBytes);
  }

  Bytes rest_;
};

// To be called by those that catch the jump.
void PngReader::open(png_alloc_size_t mostBytesOfChunk) {
  create(png_create_read_struct);
  png_set_read_fn(png_, this, feed);
  png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // ours come with better words
  png_set_chunk_malloc_max(png_, mostBytesOfChunk);
  skip(kOtherChunks);
}

void PngReader::readHeader() {
  call([this] {
    open(kMaxChunkBytes);
    skip(kTextChunks);
    png_set_option(png_, PNG_IGNORE_ADLER32, PNG_OPTION_ON);  // the chunks' own checksums tell damage as well
    png_read_info(png_, info_);
  });
}

void PngReader::readText() {
  call([this] {
    open(kMaxTextBytes);
    png_read_info(png_, info_);
  });
}

void PngReader::expand() {
  call([this] {
    png_set_expand(png_);
    if constexpr (std::endian::native == std::endian::little) png_set_swap(png_);
    png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
  });
}

void PngReader::readPixels(png_bytep* rows) {
  call([this, rows] {
    png_read_image(png_, rows);
    // Only the end tells whether the last rows are sound.
    png_read_end(png_, nullptr);
  });
}

const char* PngReader::text() const {
  png_textp first = nullptr;
  int count = 0;
  png_get_text(png_, info_, &first, &count);
  return count > 0 ? first->text : nullptr;
}

// The header and the first text under `keyword`, up to where the pixels begin: of the other texts, which the library
// would all unpack, nothing is wanted.
std::vector<std::uint8_t> headWith(Bytes file, const std::string& keyword) {
  constexpr std::size_t kFrame = 12, kStart = 8;
  const std::string wanted = keyword + '\0';
  std::vector<std::uint8_t> head(file.begin(), file.begin() + kStart);
  const auto append = [&head](Bytes part) { head.insert(head.end(), part.begin(), part.end()); };
  bool found = false;
  for (Bytes rest = file.subspan(kStart);;) {
    if (rest.size() < kFrame) throwDamaged("it ends too early");
    const std::size_t size = png_get_uint_32(rest.data());
    const std::string type(rest.begin() + 4, rest.begin() + 8);
    if (type == "IDAT" || type == "IEND") return append(rest.first(8)), head;
    if (rest.size() - kFrame < size) throwDamaged("it ends too early");
    const bool isText = type == "tEXt" || type == "zTXt" || type == "iTXt";
    const bool isWanted = !found && isText && startsWith(rest.subspan(8, size), wanted);
    if (isWanted || type == "IHDR") append(rest.first(kFrame + size));
    found |= isWanted;
    rest = rest.subspan(kFrame + size);
  }
}

constexpr png_byte kPixels[] = "IDAT", kEnd[] = "IEND";
constexpr int kColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                               PNG_COLOR_TYPE_RGB_ALPHA};

class PngWriter : PngCalls {
 public:
  explicit PngWriter(std::FILE* stream) : PngCalls([](const auto& reason) { throw Error(reason); }), stream_(stream) {}
  ~PngWriter() { png_destroy_write_struct(&png_, &info_); }

  void writeHeader(const Image& picture, int bits, const std::string& keyword, const std::string& text);
  void writePixels(Bytes packed);
  void writeEnd();

 private:
  // A short write shows in the stream's state.
  static void store(png_structp png, png_bytep from, std::size_t count) {
    std::fwrite(from, 1, count, static_cast<PngWriter*>(png_get_io_ptr(png))->stream_);
  }
  static void flush(png_structp) {}
  void addText(const std::string& keyword, const std::string& text);

  std::FILE* stream_;
};

void PngWriter::writeHeader(const Image& picture, int bits, const std::string& keyword, const std::string& text) {
  call([&] {
    create(png_create_write_struct);
    png_set_write_fn(png_, this, store, flush);
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(picture.width()), static_cast<png_uint_32>(picture.height()),
                 bits, kColorTypes[picture.channels() - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // All that a reader may go by says the same: the values are sRGB's.
    png_set_sRGB_gAMA_and_cHRM(png_, info_, PNG_sRGB_INTENT_PERCEPTUAL);
    if (!keyword.empty()) addText(keyword, text);
    png_write_info(png_, info_);
  });
}

// To be called by those that catch the jump. libpng copies both.
void PngWriter::addText(const std::string& keyword, const std::string& text) {
  png_text chunk{};
  chunk.compression = PNG_ITXT_COMPRESSION_NONE;
  chunk.key = const_cast<char*>(keyword.c_str());
  chunk.text = const_cast<char*>(text.c_str());
  png_set_text(png_, info_, &chunk, 1);
}

// The library packs rows one after the other. What is packed already it takes as chunks.
void PngWriter::writePixels(Bytes packed) {
  call([&] { png_write_chunk(png_, kPixels, packed.data(), packed.size()); });
}

void PngWriter::writeEnd() {
  call([this] { png_write_chunk(png_, kEnd, nullptr, 0); });
}

}  // namespace

bool looksLikePng(Bytes file) {
  return startsWith(file, "\x89PNG\r\n\x1a\n");
}

Image decodePng(Bytes file) {
  PngReader reader(file);
  reader.readHeader();
  checkClaimedSize(reader.width(), reader.height());
  // A bit a pixel is the least that a format of PNG takes.
  if (std::uint64_t{reader.width()} * reader.height() / 8 > file.size() * kMaxDeflateRatio) {
    throwDamaged("it is too short for the size that it claims");
  }
  reader.expand();
  Image picture =
      pictureOfClaimedSize(reader.width(), reader.height(), reader.channels(), reader.sample(), Filling::None);
  std::vector<png_bytep> rows;
  withSampleType(picture.sample(), [&]<class T>(T) {
    for (int y = 0; y < picture.height(); ++y) rows.push_back(reinterpret_cast<png_bytep>(picture.row<T>(y)));
  });
  reader.readPixels(rows.data());
  return picture;
}

std::optional<std::string> textOfPng(Bytes file, const std::string& keyword) {
  if (!looksLikePng(file)) return {};
  const std::vector<std::uint8_t> head = headWith(file, keyword);
  PngReader reader(head);
  reader.readText();
  const char* text = reader.text();
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

void encodePng(std::FILE* stream, const Image& picture, Sample depth, const std::string& keyword,
               const std::string& text) {
  PngWriter writer(stream);
  writer.writeHeader(picture, depth == Sample::Word ? 16 : 8, keyword, text);
  packPngRows(picture, depth, [&](Bytes packed) { writer.writePixels(packed); });
  writer.writeEnd();
}

}  // namespace quillmere::image
