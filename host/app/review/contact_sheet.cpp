#include "contact_sheet.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "image/conversion.h"
#include "image/file_formats.h"
#include "image/scaling.h"
#include "lettering.h"
#include "record/picture_record.h"
#include "values/effect_facts.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using image::Image;
using image::Sample;

constexpr Ink kPaper{32, 32, 34}, kBlank{48, 48, 51}, kText{214, 212, 206};
constexpr int kMargin = 12, kLetterScale = 2;

// Places of pictures on a sheet, in pixels.
struct Grid {
  int columns = 1, rows = 1, pictures = 1;  // of each entry: guide and result, or the result alone
  int width = 1, height = 1;                // of each picture

  int entryWidth() const { return pictures * width + (pictures - 1) * kMargin / 2; }
  int entryHeight() const { return height + kMargin / 2 + letterHeight(kLetterScale); }
  std::int64_t sheetWidth() const { return kMargin + std::int64_t{columns} * (entryWidth() + kMargin); }
  std::int64_t sheetHeight() const { return kMargin + std::int64_t{rows} * (entryHeight() + kMargin); }
};

float encoded(float light) {  // sRGB's curve, IEC 61966-2-1
  return light <= 0.0031308F ? light * 12.92F : 1.055F * std::pow(light, 1.0F / 2.4F) - 0.055F;
}

// As a viewer shows it on paper. Floats are light, as EXR files of ours are unless somebody has asked otherwise.
Image shown(const fs::path& file) {
  Image picture = image::withChannels(image::read(file), 4);
  if (picture.sample() == Sample::Float) {
    for (int y = 0; y < picture.height(); ++y) {
      float* rgba = picture.row<float>(y);
      for (int x = 0; x < picture.width(); ++x, rgba += 4) std::transform(rgba, rgba + 3, rgba, encoded);
    }
  }
  return image::convert(picture, Sample::Byte);
}

void put(Image& sheet, const Image& picture, int left, int top) {
  for (int y = 0; y < picture.height(); ++y) {
    const auto* from = picture.row<std::uint8_t>(y);
    auto* to = sheet.pixel<std::uint8_t>(left, top + y);
    for (int x = 0; x < picture.width(); ++x, from += 4, to += 3) {
      for (int c = 0; c < 3; ++c) {
        const int over = from[c] * from[3] + kPaper[static_cast<std::size_t>(c)] * (255 - from[3]);
        to[c] = static_cast<std::uint8_t>((over + 127) / 255);
      }
    }
  }
}

void fill(Image& sheet, int left, int top, int width, int height, Ink ink) {
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x) std::copy(ink.begin(), ink.end(), sheet.pixel<std::uint8_t>(x, y));
  }
}

// Within its place, in the middle, in its own shape.
void place(Image& sheet, const Grid& grid, const fs::path& file, int left, int top) {
  fill(sheet, left, top, grid.width, grid.height, kBlank);
  if (file.empty()) return;
  const Image picture = shown(file);
  const double scale =
      std::min(static_cast<double>(grid.width) / picture.width(), static_cast<double>(grid.height) / picture.height());
  const int width = std::clamp(static_cast<int>(std::lround(picture.width() * scale)), 1, grid.width);
  const int height = std::clamp(static_cast<int>(std::lround(picture.height() * scale)), 1, grid.height);
  const Image small = image::scaleBicubic(picture, {0, 0, picture.width(), picture.height()}, width, height);
  put(sheet, small, left + (grid.width - width) / 2, top + (grid.height - height) / 2);
}

void placeEntry(Image& sheet, const Grid& grid, const SheetEntry& entry, int left, int top) {
  if (grid.pictures > 1) place(sheet, grid, entry.guide, left, top);
  const int result = left + (grid.pictures - 1) * (grid.width + kMargin / 2);
  place(sheet, grid, entry.picture, result, top);
  // A caption that is too wide loses its end.
  Image caption(grid.entryWidth(), letterHeight(kLetterScale), 3, Sample::Byte);
  fill(caption, 0, 0, caption.width(), caption.height(), kPaper);
  writeText(caption, 0, 0, entry.caption, kLetterScale, kText);
  put(sheet, image::withChannels(caption, 4), left, top + grid.height + kMargin / 2);
}

// Columns that make the sheet about as wide as high.
int squareColumns(const Grid& grid, std::size_t entries) {
  const double shape = static_cast<double>(grid.entryHeight() + kMargin) / (grid.entryWidth() + kMargin);
  return std::max(1, static_cast<int>(std::lround(std::sqrt(static_cast<double>(entries) * shape))));
}

Grid gridFor(const std::vector<SheetEntry>& entries, const SheetLayout& layout) {
  const Image first = image::read(entries.front().picture);
  Grid grid;
  grid.width = layout.width;
  grid.height = std::max(1, static_cast<int>(std::lround(double{1} * layout.width * first.height() / first.width())));
  const bool guides = std::any_of(entries.begin(), entries.end(), [](const auto& one) { return !one.guide.empty(); });
  grid.pictures = guides ? 2 : 1;
  const auto count = static_cast<int>(entries.size());
  grid.columns = std::min(layout.columns > 0 ? layout.columns : squareColumns(grid, entries.size()), count);
  grid.rows = (count + grid.columns - 1) / grid.columns;
  return grid;
}

void refuseTooLarge(const Grid& grid) {
  const std::int64_t width = grid.sheetWidth(), height = grid.sheetHeight();
  if (width <= image::kMaxSide && height <= image::kMaxSide && width * height <= kMostPixels) return;
  throw Failure(ExitStatus::Usage, "sheet of " + std::to_string(width) + "x" + std::to_string(height) + " pixels",
                "a sheet has at most " + std::to_string(image::kMaxSide) + " a side and " +
                    std::to_string(kMostPixels / 1'000'000) + " million in all",
                "give a smaller --width, other --columns, or fewer pictures");
}

std::string captionOf(const Json& record, const fs::path& picture) {
  const Json frame = record.value("frame", Json()), camera = record.value("camera", Json());
  if (!frame.is_number_integer()) return picture.filename().string();
  return frame.dump() +
         (camera.is_string() && !camera.get_ref<const std::string&>().empty() ? "  " + camera.get<std::string>() : "");
}

// Drawn before the picture was made from it: a later one is another render's.
bool belongsTo(const fs::path& guide, const fs::path& picture) {
  std::error_code error;
  if (!fs::is_regular_file(guide, error)) return false;
  const auto drawn = fs::last_write_time(guide, error);
  return !error && drawn <= fs::last_write_time(picture, error) && !error;
}

}  // namespace

SheetEntry sheetEntryOf(const fs::path& picture) {
  std::error_code error;
  if (!fs::is_regular_file(picture, error)) {
    throw Failure(ExitStatus::Failed, "picture '" + picture.string() + "'", "there is none",
                  "give pictures that are there");
  }
  Json record = Json::object();
  try {
    record = recordOf(picture);
  } catch (const Error&) {  // somebody else's picture: it is shown without a guide
  }
  const Json told = record.value("guide", Json());
  const fs::path guide = told.is_string() ? told.get<std::string>() : "";
  return {picture, belongsTo(guide, picture) ? guide : "", captionOf(record, picture)};
}

Image contactSheet(const std::vector<SheetEntry>& entries, const SheetLayout& layout) {
  const Grid grid = gridFor(entries, layout);
  refuseTooLarge(grid);
  Image sheet(static_cast<int>(grid.sheetWidth()), static_cast<int>(grid.sheetHeight()), 3, Sample::Byte);
  fill(sheet, 0, 0, sheet.width(), sheet.height(), kPaper);
  for (int index = 0; index < static_cast<int>(entries.size()); ++index) {
    const int left = kMargin + index % grid.columns * (grid.entryWidth() + kMargin);
    const int top = kMargin + index / grid.columns * (grid.entryHeight() + kMargin);
    placeEntry(sheet, grid, entries[static_cast<std::size_t>(index)], left, top);
  }
  return sheet;
}

}  // namespace quillmere::app
