#include <CLI/CLI.hpp>
#include <memory>

#include "commands.h"
#include "image/file_formats.h"
#include "report/output.h"
#include "review/contact_sheet.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

constexpr int kNarrowest = 32, kWidest = 4096;  // pixels of a picture on the sheet

struct Options {
  std::vector<std::string> pictures;
  std::string output;
  SheetLayout layout;
  bool resultsOnly = false;
};

ExitStatus run(const Options& options) {
  if (!options.output.ends_with(".png")) {
    throw Failure(ExitStatus::Usage, "-o '" + options.output + "'", "a sheet is a PNG", "end the file's name in .png");
  }
  std::vector<SheetEntry> entries;
  for (const std::string& picture : options.pictures) {
    entries.push_back(sheetEntryOf(picture));
    if (options.resultsOnly) entries.back().guide.clear();
  }
  image::writePng(options.output, contactSheet(entries, options.layout));
  printResult(options.output + "\n");
  return ExitStatus::Done;
}

}  // namespace

Action addSheet(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  command.add_option("PICTURES", options->pictures, "Finished frames: PNG, EXR, JPEG, TIFF or WebP")
      ->required()
      ->type_name("");
  command.add_option("-o,--output", options->output, "The PNG to write")->required()->type_name("FILE.png");
  command
      .add_option("--columns", options->layout.columns,
                  "Frames in a row (default: as many as make the sheet about square)")
      ->check(CLI::Range(1, 1000))
      ->type_name("N");
  command.add_option("--width", options->layout.width, "Width of each picture on the sheet in pixels")
      ->check(CLI::Range(kNarrowest, kWidest))
      ->capture_default_str()
      ->type_name("PIXELS");
  command.add_flag("--results-only", options->resultsOnly, "Leave the guides out");
  command.footer(
      "The guide stands to the left of its result, where the picture's record tells it and it is still\n"
      "there; below stand the frame's number and its camera.\n"
      "Example:\n  quillmere sheet shots/harbour_*.png -o sheet.png --columns 4");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
