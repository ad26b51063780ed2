#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/utf8.h"
#include "scene_options.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

constexpr std::int64_t kMostPoses = 32;  // of all frames, that are looked at for the scene's bounds

// By name, else by number from 1.
std::optional<std::size_t> indexOf(const std::vector<std::string>& names, const std::string& wanted) {
  if (const auto index = indexOfName(names, wanted)) return index;
  std::size_t number = 0;
  const char* const end = wanted.data() + wanted.size();
  const auto read = std::from_chars(wanted.data(), end, number);
  const bool fits = read.ec == std::errc{} && read.ptr == end && number >= 1 && number <= names.size();
  return fits ? std::optional(number - 1) : std::nullopt;
}

[[noreturn]] void refuseName(const char* what, const char* list, const std::vector<std::string>& names,
                             const std::string& wanted) {
  throw Failure(ExitStatus::Usage, what + (" '" + wanted) + "'", "the scene has none of that name or number",
                suggestion(names, wanted) + list + listed(names));
}

std::shared_ptr<const scene::Scene> loaded(const SceneOptions& options) {
  std::vector<std::string> clips;
  std::optional<std::size_t> chosen;
  auto scene = scene::load(options.scene, {[&](const std::vector<std::string>& names) {
                                             clips = names;
                                             return chosen = indexOf(names, options.clip);
                                           },
                                           options.loop});
  if (!options.clip.empty() && !chosen) refuseName("clip", "its clips: ", clips, options.clip);
  return scene;
}

std::vector<double> posesOf(const FrameSet& frames, const FrameClock& clock) {
  const std::int64_t poses = std::min(frames.count(), kMostPoses), last = frames.count() - 1;
  std::vector<double> seconds;
  for (std::int64_t pose = 0; pose < poses; ++pose) {
    seconds.push_back(clock.secondsAt(frames.at(poses < 2 ? 0 : pose * last / (poses - 1))));
  }
  return seconds;
}

void addOwnCamera(const SceneOptions& options, const FrameSet& frames, OpenedScene& opened) {
  const scene::Turntable turntable{options.turntable > 0 ? options.clock.rate.secondsAt(options.turntable) : 0.0};
  scene::View view = options.view.value_or(scene::View{});
  if (!view.distance || !view.target) {
    const scene::Bounds bounds = boundsOf(*opened.scene, posesOf(frames, options.clock));
    view = framed(view, bounds, static_cast<double>(options.size.width) / options.size.height, turntable);
  }
  if (!options.ownCamera()) {
    opened.notes.push_back("the scene has no camera: it is seen through the host's own, --view " + textOf(view));
  }
  opened.facts["view"] = textOf(view);
  if (options.turntable > 0) opened.facts["turntable"] = options.turntable;
  opened.scene = withViewCamera(opened.scene, view, turntable);
}

std::vector<std::string> cameraNames(const scene::Scene& scene) {
  std::vector<std::string> names;
  for (const scene::CameraInfo& camera : scene.cameras()) names.push_back(camera.name);
  return names;
}

std::vector<std::string> chosenCameras(const SceneOptions& options, const scene::Scene& scene) {
  const std::vector<std::string> names = cameraNames(scene);
  if (options.ownCamera()) return {names.back()};
  std::vector<std::string> chosen;
  for (const std::string& wanted : options.cameras) {
    const auto index = indexOf(names, wanted);
    if (!index) refuseName("camera", "its cameras: ", names, wanted);
    if (std::find(chosen.begin(), chosen.end(), names[*index]) == chosen.end()) chosen.push_back(names[*index]);
  }
  return chosen;
}

std::string noteOfClips(const std::vector<scene::Clip>& clips) {
  std::string played, others;
  for (const scene::Clip& clip : clips) {
    std::string& list = clip.played ? played : others;
    list += (list.empty() ? "'" : ", '") + printable(clip.name) + "'";
  }
  return others.empty() ? "" : "clips of the scene that are played: " + played + "; others, for --clip: " + others;
}

std::string noteOfSpan(double begin, double end, const FrameRate& rate, bool early) {
  const auto frameOf = [&](double seconds) {
    return std::to_string(std::lround(seconds * rate.frames / rate.seconds));
  };
  return "the animation lasts from frame " + frameOf(begin) + " to " + frameOf(end) + "; the frames " +
         (early ? "before hold its first" : "after hold its last") + " pose, --loop repeats it";
}

// When frames lie before or after the key frames; the first is often one late.
std::string noteOfFrames(const SceneOptions& options, const FrameSet& frames, const std::vector<scene::Clip>& clips) {
  std::optional<scene::Clip> all;
  for (const scene::Clip& clip : clips) {
    if (!clip.played || clip.end <= clip.begin) continue;
    if (!all) all = clip;
    all->begin = std::min(all->begin, clip.begin);
    all->end = std::max(all->end, clip.end);
  }
  if (!all || options.loop) return {};
  const double frame = options.clock.rate.secondsAt(1);
  const bool early = options.clock.secondsAt(frames.first()) < all->begin - 1.5 * frame;
  const bool late = options.clock.secondsAt(frames.last()) > all->end + 0.5 * frame;
  return early || late ? noteOfSpan(all->begin, all->end, options.clock.rate, !late) : "";
}

std::string nameOfPlayed(const std::vector<scene::Clip>& clips) {
  const auto played = std::find_if(clips.begin(), clips.end(), [](const scene::Clip& clip) { return clip.played; });
  return played == clips.end() ? "" : played->name;
}

}  // namespace

OpenedScene openScene(const SceneOptions& options, const FrameSet& frames) {
  OpenedScene opened;
  opened.scene = loaded(options);
  const std::vector<scene::Clip> clips = opened.scene->clips();
  const FrameRate& rate = options.clock.rate;
  opened.facts["fps"] = rate.seconds == 1 ? Json(rate.frames) : Json(rate.text());
  if (!options.clip.empty()) opened.facts["clip"] = nameOfPlayed(clips);
  if (options.loop) opened.facts["loop"] = true;
  if (options.clock.time) opened.facts["time"] = *options.clock.time;
  if (options.ownCamera() || opened.scene->cameras().empty()) addOwnCamera(options, frames, opened);
  opened.cameras = chosenCameras(options, *opened.scene);
  for (const std::string& note :
       {options.clip.empty() ? noteOfClips(clips) : "", noteOfFrames(options, frames, clips)}) {
    if (!note.empty()) opened.notes.push_back(note);
  }
  return opened;
}

}  // namespace quillmere::app
