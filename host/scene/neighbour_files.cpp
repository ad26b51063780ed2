#include "scene/neighbour_files.h"

#include <cctype>
#include <fstream>

#include "scene/scene.h"
#include "scene/warnings.h"

namespace quillmere::scene {
namespace {

std::string percentDecoded(const std::string& uri) {
  std::string text;
  for (std::size_t i = 0; i < uri.size(); ++i) {
    const bool escape = uri[i] == '%' && i + 2 < uri.size() && std::isxdigit(static_cast<unsigned char>(uri[i + 1])) &&
                        std::isxdigit(static_cast<unsigned char>(uri[i + 2]));
    if (escape) {
      text += static_cast<char>(std::stoi(uri.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      text += uri[i];
    }
  }
  return text;
}

// "C:/x", "http://x", "data:…": a scheme ends with a colon before the first slash.
bool hasScheme(const std::string& uri) {
  const auto colon = uri.find(':');
  return colon != std::string::npos && colon < uri.find('/');
}

}  // namespace

std::vector<std::uint8_t> readWhole(const std::filesystem::path& file) {
  std::error_code failed;
  const auto kind = std::filesystem::status(file, failed);
  if (!std::filesystem::exists(kind)) throw Error("there is no such file");
  if (!std::filesystem::is_regular_file(kind)) throw Error("it is not a regular file");
  const std::uintmax_t size = std::filesystem::file_size(file, failed);
  if (failed) throw Error("its size can't be read: " + failed.message());
  if (size > kMostFileBytes) throw Error("it is larger than 2 GiB");
  std::ifstream in(file, std::ios::binary);
  if (!in) throw Error("it can't be opened; check that you may read it");
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (static_cast<std::uintmax_t>(in.gcount()) != size) throw Error("it can't be read to its end");
  return bytes;
}

std::filesystem::path resolveReference(const std::filesystem::path& folder, const std::string& uri) {
  const std::string name = percentDecoded(uri);
  const std::filesystem::path relative = std::filesystem::path(name).lexically_normal();
  const bool leaves = relative.is_absolute() || (!relative.empty() && *relative.begin() == "..");
  if (name.empty() || name.find('\0') != std::string::npos || hasScheme(uri) || leaves) {
    throw Error("it names '" + printable(uri) +
                "'; only files in the scene's own folder and below are read, so put it there");
  }
  return folder / relative;
}

}  // namespace quillmere::scene
