#include "movie.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <system_error>

#include "base/utf8.h"
#include "files/scratch_folder.h"
#include "process/child_run.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::hours kPatience{24};
constexpr std::size_t kMostToldBytes = 2000;  // of what ffmpeg says

// Every frame number that a name may hold: each run of digits, with and without a minus before it.
void appendNumbersIn(const std::string& name, std::vector<std::int32_t>& numbers) {
  const char* const end = name.data() + name.size();
  for (const char* at = name.data(); at < end;) {
    std::int32_t number = 0;
    const auto read = std::from_chars(at, end, number);
    if (read.ec == std::errc{}) numbers.push_back(number);
    if (read.ec == std::errc{} && *at == '-') numbers.push_back(-number);
    at = read.ec == std::errc{} ? read.ptr : at + 1;
  }
}

// The film while it is made: under the name of a temporary file of this process, which the next render sweeps up when
// this process is killed.
class UnfinishedFilm {
 public:
  explicit UnfinishedFilm(const fs::path& target) : target_(target), place_(placeBeside(target)) {}
  ~UnfinishedFilm() {
    std::error_code error;
    fs::remove(place_, error);
  }
  UnfinishedFilm(const UnfinishedFilm&) = delete;
  UnfinishedFilm& operator=(const UnfinishedFilm&) = delete;

  const fs::path& place() const { return place_; }
  void finish() const {
    std::error_code error;
    fs::rename(place_, target_, error);
    if (error) {
      throw Failure(ExitStatus::Failed, "movie '" + target_.string() + "'", "cannot be written: " + error.message(),
                    "give -o a file in a folder that you may write to");
    }
  }

 private:
  static fs::path placeBeside(const fs::path& target) {
    return target.parent_path() / ("." + target.filename().string() + "." + std::to_string(::getpid()) + ".part");
  }

  fs::path target_, place_;
};

std::string formatOf(const fs::path& film) {
  std::string ending = film.extension().string();
  for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  if (ending == ".mkv") return "matroska";
  for (const char* known : {".mp4", ".mov", ".webm", ".gif", ".avi"}) {
    if (ending == known) return known + 1;
  }
  throw Failure(ExitStatus::Usage, "-o '" + film.string() + "'", "no kind of film that is known",
                "end the file's name in .mp4, .mov, .mkv, .webm, .avi or .gif");
}

// What is shown everywhere, where nothing else was asked for.
void appendEncoding(const std::string& format, std::vector<std::string>& command) {
  if (format != "mp4" && format != "mov" && format != "matroska") return;
  for (const char* word : {"-c:v", "libx264", "-crf", "18", "-pix_fmt", "yuv420p", "-vf",
                           "pad=ceil(iw/2)*2:ceil(ih/2)*2,scale=out_color_matrix=bt709:out_range=tv", "-colorspace",
                           "bt709", "-color_primaries", "bt709", "-color_trc", "bt709"}) {
    command.emplace_back(word);
  }
  if (format != "matroska") command.insert(command.end(), {"-movflags", "+faststart"});
}

std::vector<std::string> commandFor(const MoviePlan& plan, const fs::path& folder, const fs::path& place) {
  const std::string format = formatOf(plan.file);
  std::vector<std::string> command{"ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-y"};
  // Light, which films don't hold.
  if (plan.pictures.format() == FileFormat::Exr) command.insert(command.end(), {"-apply_trc", "iec61966_2_1"});
  const std::string ending = plan.pictures.fileFor(0).extension().string();
  command.insert(command.end(), {"-f", "image2", "-framerate", plan.rate.text(), "-start_number", "0", "-i",
                                 (folder / ("%07d" + ending)).string()});
  appendEncoding(format, command);
  command.insert(command.end(), plan.options.begin(), plan.options.end());
  command.insert(command.end(), {"-f", format, place.string()});
  return command;
}

// Numbered without gaps, as ffmpeg wants them.
void linkFrames(const MoviePlan& plan, const FrameSet& frames, const fs::path& folder) {
  for (std::int64_t index = 0; index < frames.count(); ++index) {
    const fs::path file = fs::absolute(plan.pictures.fileFor(frames.at(index)));
    const std::string number = std::to_string(index);
    const std::string padded = std::string(7 - std::min<std::size_t>(number.size(), 7), '0') + number;
    fs::create_symlink(file, folder / (padded + file.extension().string()));
  }
}

// A hole would show as a jump.
void refuseMissing(const OutputPattern& pictures, const FrameSet& frames) {
  std::vector<std::int32_t> missing;
  std::error_code error;
  for (std::int64_t index = 0; index < frames.count(); ++index) {
    if (!fs::is_regular_file(pictures.fileFor(frames.at(index)), error)) missing.push_back(frames.at(index));
  }
  if (missing.empty()) return;
  throw Failure(ExitStatus::Failed, "frames " + FrameSet::of(missing).text(), "their pictures are missing",
                "render them, or say with --frames which ones to show");
}

[[noreturn]] void refuseFailed(const ChildResult& result, const std::string& film) {
  if (result.end == ChildResult::End::NotStarted) {
    throw Failure(ExitStatus::Failed, "ffmpeg", "cannot be started: " + result.errors,
                  "install it (apt install ffmpeg), and see that it is on PATH");
  }
  const std::size_t told = std::min(result.errors.size(), kMostToldBytes);
  const std::string said = printable(result.errors.substr(result.errors.size() - told));
  throw Failure(ExitStatus::Failed, "movie '" + film + "'", "ffmpeg could not make it: " + said,
                "options for its output stand behind --, for example -- -c:v mpeg4");
}

FrameSet wholeSpan(const FrameSet& there) {
  return FrameSet({there.first(), there.last(), 1});
}

}  // namespace

FrameSet framesThere(const OutputPattern& pictures) {
  const std::string remedy = "give the pattern that the frames were rendered with, for example shot_####.png";
  if (!pictures.numbersFrames()) {
    throw Failure(ExitStatus::Usage, "pattern '" + pictures.fileFor(0).string() + "'", "it has no place for a number",
                  remedy);
  }
  std::vector<std::int32_t> candidates, found;
  std::error_code error;
  const fs::path folder = pictures.folder().empty() ? "." : pictures.folder();
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (entry.depth() > 2) entry.disable_recursion_pending();
    appendNumbersIn(fs::relative(entry->path(), folder).string(), candidates);
  }
  for (const std::int32_t frame : candidates) {
    if (fs::is_regular_file(pictures.fileFor(frame), error)) found.push_back(frame);
  }
  if (found.empty()) throw Failure(ExitStatus::Failed, "frames in '" + folder.string() + "'", "there are none", remedy);
  return FrameSet::of(found);
}

FrameSet makeMovie(const MoviePlan& plan, const std::function<bool()>& stop) {
  FrameSet frames = plan.frames.value_or(wholeSpan(framesThere(plan.pictures)));
  refuseMissing(plan.pictures, frames);
  const ScratchFolder folder;
  linkFrames(plan, frames, folder.path());
  const UnfinishedFilm film(plan.file);
  const ChildResult result = runChild(commandFor(plan, folder.path(), film.place()), {kPatience}, stop);
  if (stop()) return frames;
  if (result.end != ChildResult::End::Exited || result.status != 0) refuseFailed(result, plan.file.string());
  film.finish();
  return frames;
}

}  // namespace quillmere::app
