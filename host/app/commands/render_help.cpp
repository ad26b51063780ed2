#include "render_help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "help_text.h"

namespace quillmere::app {
namespace {

struct Heading {
  const char* text;
  std::initializer_list<const char*> options;
};

const Heading kHeadings[] = {
    {"Frames and files", {"--frames", "--time", "--fps", "--size", "--output", "--exr-encoding"}},
    {"What is seen", {"--camera", "--view", "--turntable", "--clip", "--loop"}},
    {"What the picture becomes",
     {"--workflow", "--control", "--prompt", "--prompt-file", "--system-prompt", "--style", "--seed", "--guide"}},
    {"How the final guide is drawn", {"--exposure", "--samples", "--background", "--light", "--two-sided"}},
    {"How passes are drawn, for workflows that ask for them", {"--depth-range", "--depth-kind", "--normal-kind"}},
    {"Renders kept and repeated", {"--like", "--settings", "--save-settings", "--save-job", "--dry-run"}},
    {"What is done about several frames, and about failures",
     {"--resume", "--jobs", "--retries", "--keep-going", "--stop-at-first-failure", "--log"}},
    {"What is printed", {"--json", "--report", "--quiet", "--help"}},
    {"Seldom needed", {"--set", "--output-dir", "--prefix", "--history", "--preview", "--write-dir", "--plugin"}},
};

constexpr const char* kExamples =
    "Examples:\n"
    "  quillmere render harbour.glb --prompt \"a misty harbour at dawn\"\n"
    "  quillmere render harbour.glb --frames 1-48x4 --output shots/harbour_####.png --size 1920x1080\n"
    "  quillmere render harbour.glb --workflow \"FLUX.2 Dev\" --camera Quayside --guide final --json\n"
    "  quillmere render harbour.glb --workflow depth.json --control Strength=0.6 --control Model=soft\n"
    "  quillmere render model.glb --turntable 96 --frames 0-95 --clip Walk --loop -o turn_####.png\n"
    "  quillmere render harbour.glb --prompt \"a storm\" --save-settings storm.json\n"
    "  quillmere render pier.glb --settings storm.json --save-job night.json\n"
    "  quillmere render night.json --frames 25-48\n"
    "  quillmere render night.json --frames 1-240 --resume --retries 3\n"
    "  quillmere render --like render_0012.png --prompt \"the same at night\" --output night_####.png";

std::ptrdiff_t placeOf(const std::string& heading) {
  const auto* const found =
      std::find_if(std::begin(kHeadings), std::end(kHeadings), [&](const Heading& one) { return heading == one.text; });
  return found - std::begin(kHeadings);
}

// The headings, and the options under each, in this order, whichever are added first; then any others.
class ArrangedHelp : public HelpFormatter {
 public:
  std::vector<Section> sections(const CLI::App& app) const override {
    std::vector<Section> all = HelpFormatter::sections(app);
    std::ranges::stable_sort(all, {}, [](const Section& section) { return placeOf(section.heading); });
    for (Section& section : all) {
      if (const auto place = placeOf(section.heading); place < std::ssize(kHeadings)) {
        std::ranges::stable_sort(section.options, {}, [&](const CLI::Option* option) {
          const auto& names = kHeadings[place].options;
          return std::find_if(names.begin(), names.end(), [&](const char* name) { return option->check_name(name); });
        });
      }
    }
    return all;
  }
};

}  // namespace

void arrangeRenderHelp(CLI::App& render) {
  for (const Heading& heading : kHeadings) {
    for (const char* name : heading.options) render.get_option(name)->group(heading.text);
  }
  render.footer(kExamples);
  render.formatter(std::make_shared<ArrangedHelp>());
}

}  // namespace quillmere::app
