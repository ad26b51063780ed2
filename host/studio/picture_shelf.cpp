#include "picture_shelf.h"

#include <sys/stat.h>

#include <algorithm>
#include <span>

#include "base/error.h"
#include "base/file_reading.h"
#include "image/codecs.h"
#include "record/picture_record.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestPicture = std::uintmax_t{256} << 20U;  // bytes

// FNV-1a, 64 bits (http://www.isthe.com/chongo/tech/comp/fnv/).
std::uint64_t hashOf(const std::string& text) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char letter : text) hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3U;
  return hash;
}

std::string hexOf(std::uint64_t value) {
  std::string text(16, '0');
  for (std::size_t i = text.size(); i-- > 0; value >>= 4U) text[i] = "0123456789abcdef"[value & 15U];
  return text;
}

}  // namespace

PictureShelf::PictureShelf(const std::vector<fs::path>& folders) {
  std::error_code error;
  for (const fs::path& folder : folders) folders_.push_back(fs::weakly_canonical(folder, error));
}

std::string PictureShelf::idOf(const fs::path& picture) {
  const std::lock_guard lock(mutex_);
  for (std::uint64_t hash = hashOf(picture.native());; ++hash) {
    const auto [place, added] = pictures_.try_emplace(hexOf(hash), picture);
    if (added || place->second == picture) return place->first;
  }
}

Json PictureShelf::cardOf(const fs::path& picture) {
  const std::string stamp = picture.empty() ? "" : stampOf(picture);
  if (stamp.empty()) return nullptr;
  return {{"id", idOf(picture)}, {"stamp", stamp}, {"name", picture.filename().string()}};
}

std::optional<fs::path> PictureShelf::find(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto found = pictures_.find(id);
  if (found == pictures_.end()) return {};
  return found->second;
}

bool PictureShelf::liesWithin(const HeldFile& file) const {
  const fs::path& place = file.place();
  return std::any_of(folders_.begin(), folders_.end(), [&](const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), place.begin(), place.end()).first == folder.end();
  });
}

std::optional<HeldFile> PictureShelf::shown(const std::string& id) const {
  const auto named = find(id);
  HeldFile file(named.value_or(fs::path()));
  if (file.place().empty()) return {};
  if (liesWithin(file) || !app::recordTextOf(file.place()).empty()) return file;
  return {};
}

std::optional<HeldFile> PictureShelf::heldWithin(const fs::path& path) const {
  HeldFile file(path);
  if (file.place().empty() || !liesWithin(file)) return {};
  return file;
}

std::string stampOf(const fs::path& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return {};
  const std::uint64_t parts[] = {static_cast<std::uint64_t>(facts.st_mtim.tv_sec),
                                 static_cast<std::uint64_t>(facts.st_mtim.tv_nsec),
                                 static_cast<std::uint64_t>(facts.st_size), facts.st_ino};
  return hexOf(hashOf({reinterpret_cast<const char*>(parts), sizeof parts}));
}

WebPicture webPictureOf(const fs::path& file) {
  WebPicture picture{{}, readText(file, kLargestPicture)};
  const image::Bytes bytes(reinterpret_cast<const std::uint8_t*>(picture.content.data()), picture.content.size());
  if (image::looksLikePng(bytes)) picture.type = "image/png";
  if (image::looksLikeJpeg(bytes)) picture.type = "image/jpeg";
  if (image::looksLikeWebp(bytes)) picture.type = "image/webp";
  if (picture.type.empty()) throw Error("it is no PNG, JPEG or WebP");
  return picture;
}

}  // namespace quillmere::studio
