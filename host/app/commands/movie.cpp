#include "review/movie.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "commands.h"
#include "process/process_tree.h"
#include "process/user_break.h"
#include "report/output.h"

namespace quillmere::app {
namespace {

struct Options {
  std::string pattern, output, frames;
  FrameRate rate;
  std::vector<std::string> ffmpeg;  // its options
};

// A stray word would be a second film to ffmpeg.
void refuseStrayWord(const std::vector<std::string>& options) {
  if (options.empty() || options.front().starts_with('-')) return;
  throw Failure(ExitStatus::Usage, "movie '" + options.front() + "'", "no option of ffmpeg",
                "give one PATTERN, in quotes where the shell would fill it in; options of ffmpeg stand behind --");
}

ExitStatus run(const Options& options) {
  refuseStrayWord(options.ffmpeg);
  MoviePlan plan{OutputPattern::parse(options.pattern), {}, options.rate, options.output, options.ffmpeg};
  if (!options.frames.empty()) plan.frames = parseFrameSet(options.frames);
  const UserBreak userBreak([] {});
  adoptOrphans();
  const FrameSet frames = makeMovie(plan, [&] { return userBreak.seen(); });
  if (userBreak.seen()) return ExitStatus::Broken;
  printResult(options.output + "\n");
  printError("frames " + frames.text() + " at " + options.rate.text() + " a second");
  return ExitStatus::Done;
}

}  // namespace

Action addMovie(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  command.add_option("PATTERN", options->pattern, "The frames' files, as render's --output had them: shot_####.png")
      ->required()
      ->type_name("");
  command
      .add_option("-o,--output", options->output, "The film; its ending says which kind: .mp4, .mov, .mkv, .webm, .gif")
      ->required()
      ->type_name("FILE");
  command
      .add_option_function<std::string>(
          "--fps", [options = options.get()](const std::string& text) { options->rate = parseFrameRate(text); },
          "Frames per second of the film, such as 24, 23.976 or 24000/1001")
      ->type_name("RATE")
      ->default_str("30");
  command
      .add_option("--frames", options->frames,
                  "Frames to show (default: all from the first to the last that are there)")
      ->type_name("A|A-B|A-BxSTEP,...");
  command.add_option("FFMPEG", options->ffmpeg, "Behind --: options of ffmpeg for the film")->type_name("");
  command.footer(
      "The ffmpeg of the machine encodes it. What stands behind -- are options of ffmpeg for the output: codecs,\n"
      "quality.\n"
      "Examples:\n"
      "  quillmere movie shots/harbour_####.png -o harbour.mp4 --fps 24\n"
      "  quillmere movie shots/harbour_####.exr -o harbour.mov --fps 25 -- -c:v prores_ks -profile:v 3");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
