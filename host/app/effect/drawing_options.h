#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "base/json.h"
#include "render/settings.h"
#include "sdk/api/document.h"

// How the host itself draws: what the effect neither knows nor keeps.
namespace quillmere::app {

// What was asked for; what is left out is the host's default.
struct DrawingOptions {
  std::optional<float> exposure;          // stops
  std::optional<int> samples;             // per pixel, 1 to kMostSamples
  std::optional<std::string> background;  // a colour, "sky", or an absolute path
  std::optional<std::string> light;       // one of kLightWords
  std::optional<bool> twoSided;

  // Takes over what isn't given here.
  void complete(const DrawingOptions& other);
};

inline constexpr int kMostSamples = 65536;
inline constexpr float kMostStops = 20.0F;
inline constexpr const char* kLightWords[] = {"default", "scene", "none"};

// What `--background` means by a text: the text itself for a colour or the sky, else the absolute path of a picture.
// Throws Failure for what is none of these.
std::string backgroundOf(const std::string& text);

// An object with a member for each option that is given; and back. `what` is for messages. Throws Failure for values
// that can't be.
Json jsonOf(const DrawingOptions& options);
DrawingOptions drawingOptionsOf(const Json& object, const std::string& what);

render::Sides sidesOf(const DrawingOptions& options);

// Makes the document's drawings so; reads the background's picture. Throws Failure.
void applyTo(host::Document& document, const DrawingOptions& options);

}  // namespace quillmere::app
