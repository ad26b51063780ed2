#include "scene_options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <cmath>

#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

[[noreturn]] void refuseView(const std::string& text, const std::string& why) {
  throw Failure(
      ExitStatus::Usage, "--view '" + text + "'", why,
      "write AZIMUTH,ELEVATION[,DISTANCE[,X,Y,Z]]: degrees from the front and from the ground, metres, and the\n"
      "  point to look at, for example 30,20 or 90,0,4.5");
}

// The numbers between commas.
std::vector<float> numbersIn(const std::string& text) {
  std::vector<float> numbers;
  const char *at = text.data(), *const end = at + text.size();
  for (;;) {
    float number = 0.0F;
    const auto read = std::from_chars(at, end, number);
    if (read.ec != std::errc{} || !(std::abs(number) <= scene::kLargestNumber)) refuseView(text, "not a view");
    numbers.push_back(number);
    if (read.ptr == end) return numbers;
    if (*read.ptr != ',') refuseView(text, "not a view");
    at = read.ptr + 1;
  }
}

std::string textOf(float number) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

}  // namespace

scene::View parseView(const std::string& text) {
  const std::vector<float> numbers = numbersIn(text);
  if (numbers.size() != 2 && numbers.size() != 3 && numbers.size() != 6) refuseView(text, "not a view");
  if (std::abs(numbers[1]) > 90.0F) refuseView(text, "its elevation is beyond 90 degrees");
  scene::View view{numbers[0], numbers[1], {}, {}};
  if (numbers.size() > 2) view.distance = numbers[2];
  if (view.distance && *view.distance < 1e-9F) refuseView(text, "its distance is not above 0");
  if (numbers.size() > 5) view.target = glm::vec3(numbers[3], numbers[4], numbers[5]);
  return view;
}

std::string textOf(const scene::View& view) {
  std::string text = textOf(view.azimuth) + "," + textOf(view.elevation);
  if (view.distance) text += "," + textOf(*view.distance);
  if (view.target) text += "," + textOf(view.target->x) + "," + textOf(view.target->y) + "," + textOf(view.target->z);
  return text;
}

void addSceneFile(CLI::App& command, std::string& scene) {
  command.add_option("SCENE", scene, "The scene: a glTF 2.0 file (.gltf or .glb)")
      ->required()
      ->check(CLI::ExistingFile)
      ->type_name("");
}

void addClipOptions(CLI::App& command, SceneOptions& options) {
  command.add_option("--clip", options.clip, "The animation to play (default: the first, with those that go with it)")
      ->type_name("NAME|N");
  command.add_flag("--loop", options.loop, "Begin the animation anew after its end, instead of holding its last pose");
}

void addFrameRate(CLI::App& command, SceneOptions& options) {
  command
      .add_option_function<std::string>(
          "--fps", [&options](const std::string& text) { options.clock.rate = parseFrameRate(text); },
          "Frames per second of the scene's animation, such as 24, 23.976 or 24000/1001")
      ->type_name("RATE")
      ->default_str("30");
}

namespace {

void addCameraOptions(CLI::App& command, SceneOptions& options) {
  auto* camera = command
                     .add_option("--camera", options.cameras,
                                 "The camera to look through (default: the scene's first); several times for several")
                     ->type_name("NAME|N")
                     ->allow_extra_args(false);
  command
      .add_option_function<std::string>(
          "--view", [&options](const std::string& text) { options.view = parseView(text); },
          "Look through a camera of the host's own: degrees from the front and above\n"
          "the ground, and metres (default: as far as it takes to show the whole scene)")
      ->type_name("AZIMUTH,ELEVATION[,DISTANCE]")
      ->excludes(camera);
  command.add_option("--turntable", options.turntable, "Turn that camera once about the scene in so many frames")
      ->type_name("FRAMES")
      ->check(CLI::Range(2, kLongestTurn))
      ->excludes(camera);
}

}  // namespace

void addSceneOptions(CLI::App& command, SceneOptions& options) {
  addSceneFile(command, options.scene);
  addCameraOptions(command, options);
  addClipOptions(command, options);
  addFrameRate(command, options);
  command
      .add_option_function<std::string>(
          "--size", [&options](const std::string& text) { options.size = parsePictureSize(text); },
          "Size of the picture in pixels")
      ->type_name("WxH")
      ->default_str("1024x576");
}

void addTime(CLI::App& command, SceneOptions& options, const std::string& frames) {
  command
      .add_option_function<std::string>(
          "--time", [&options](const std::string& text) { options.clock.time = parseSeconds(text); },
          "Render one frame, of the scene at this second; its number follows from --fps")
      ->type_name("SECONDS")
      ->excludes(frames);
}

}  // namespace quillmere::app
