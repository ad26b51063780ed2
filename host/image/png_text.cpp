#include "png_text.h"

#include <png.h>

#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include "decoding.h"

namespace quillmere::image {

namespace fs = std::filesystem;

namespace {

constexpr png_alloc_size_t kMaxTextBytes = 32U << 20U;
constexpr png_uint_32 kMaxTexts = 16;
constexpr png_byte kSkippedChunks[] = "iCCP\0sPLT\0eXIf\0hIST";
constexpr int kSkippedCount = sizeof(kSkippedChunks) / 5;
constexpr std::size_t kSignature = 8;  // bytes

struct Close {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, Close>;

// libpng leaves a call by a long jump when it fails. So the function that calls it is a member that holds nothing with
// a destructor; it returns false then, and the reason is in `message`.
class TextReader {
 public:
  explicit TextReader(std::FILE* stream) : stream_(stream) {}
  ~TextReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;

  bool readTexts();
  // Both valid as long as this lives.
  std::span<const png_text> texts() const {
    png_textp first = nullptr;
    int count = 0;
    png_get_text(png_, info_, &first, &count);
    return {first, static_cast<std::size_t>(count)};
  }
  const char* message() const { return message_; }

 private:
  static void fail(png_structp png, png_const_charp message) {
    auto& self = *static_cast<TextReader*>(png_get_error_ptr(png));
    std::strncpy(self.message_, message, sizeof(self.message_) - 1);
    std::longjmp(self.escape_, 1);
  }
  static void ignore(png_structp, png_const_charp) {}
  static void feed(png_structp png, png_bytep to, std::size_t count) {
    auto& self = *static_cast<TextReader*>(png_get_io_ptr(png));
    if (std::fread(to, 1, count, self.stream_) != count) png_error(png, "it ends too early");
  }

  std::FILE* stream_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  std::jmp_buf escape_;
  char message_[256] = "there is not enough memory";
};

bool TextReader::readTexts() {
  if (setjmp(escape_) != 0) return false;
  png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, ignore);
  info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
  if (info_ == nullptr) return false;
  png_set_read_fn(png_, this, feed);
  png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_chunk_malloc_max(png_, kMaxTextBytes);
  png_set_chunk_cache_max(png_, kMaxTexts + 1);  // the library counts down to 1
  png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks, kSkippedCount);
  png_read_info(png_, info_);
  return true;
}

Stream opened(const fs::path& file) {
  std::error_code failed;
  const fs::file_status status = fs::status(file, failed);
  if (!fs::exists(status)) throw Error("there is no such file; check the path");
  // A pipe or device could keep us waiting, or never end.
  if (!fs::is_regular_file(status)) throw Error("it is not a file; check the path");
  Stream stream(std::fopen(file.c_str(), "rb"));
  if (!stream) throw Error("it can't be opened; check its permissions");
  return stream;
}

std::optional<std::string> textIn(const fs::path& file, const std::string& keyword) {
  const Stream stream = opened(file);
  std::array<std::uint8_t, kSignature> start{};
  const std::size_t length = std::fread(start.data(), 1, start.size(), stream.get());
  if (!looksLikePng({start.data(), length})) return {};
  std::rewind(stream.get());
  TextReader reader(stream.get());
  if (!reader.readTexts()) throwDamaged(reader.message());
  for (const png_text& text : reader.texts()) {
    if (keyword == text.key && text.text != nullptr) return text.text;
  }
  return {};
}

}  // namespace

std::optional<std::string> pngText(const fs::path& file, const std::string& keyword) {
  try {
    return textIn(file, keyword);
  } catch (const Error& error) {
    throw Error("cannot read picture '" + file.string() + "': " + error.what());
  }
}

}  // namespace quillmere::image
