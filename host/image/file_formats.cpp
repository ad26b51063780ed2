#include "file_formats.h"

#include <fstream>
#include <new>
#include <vector>

#include "decoding.h"

namespace quillmere::image {

namespace fs = std::filesystem;

namespace {

struct Format {
  bool (*matches)(Bytes file);
  Image (*decode)(Bytes file);
};

constexpr Format kFormats[] = {
    {looksLikePng, decodePng},   {looksLikeJpeg, decodeJpeg}, {looksLikeWebp, decodeWebp},
    {looksLikeTiff, decodeTiff}, {looksLikeExr, decodeExr},
};

Image decodeAny(Bytes file) {
  if (file.empty()) throwDamaged("it is empty");
  for (const Format& format : kFormats) {
    if (format.matches(file)) return format.decode(file);
  }
  throw Error("it is neither PNG, JPEG, WebP, TIFF nor EXR; convert it to PNG");
}

std::vector<std::uint8_t> contentOf(const fs::path& file) {
  std::error_code failed;
  const fs::file_status status = fs::status(file, failed);
  if (!fs::exists(status)) throw Error("there is no such file; check the path");
  // A pipe or device could keep us waiting, or never end.
  if (!fs::is_regular_file(status)) throw Error("it is not a file; check the path");
  const std::uintmax_t size = fs::file_size(file, failed);
  if (failed) throw Error(failed.message() + "; check the path");
  if (size > kMaxPictureBytes) throw Error("the file is larger than 1 GiB; scale it down");
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw Error("it can't be opened; check its permissions");
  std::vector<std::uint8_t> content(size);
  stream.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(size));
  content.resize(static_cast<std::size_t>(stream.gcount()));
  return content;
}

// The one place where what goes wrong below gets the picture's name.
template <class Work>
Image reading(const std::string& name, Work&& work) {
  const auto refuse = [&](const std::string& why) { throw Error("cannot read picture '" + name + "': " + why); };
  try {
    return work();
  } catch (const Error& error) {
    refuse(error.what());
  } catch (const std::bad_alloc&) {
    refuse("there is not enough memory; scale it down");
  }
  return {};
}

}  // namespace

Image read(const fs::path& file) {
  return reading(file.string(), [&] { return decodeAny(contentOf(file)); });
}

Image decode(std::span<const std::uint8_t> bytes, const std::string& name) {
  return reading(name, [&] { return decodeAny(bytes); });
}

}  // namespace quillmere::image
