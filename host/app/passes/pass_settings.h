#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/json.h"
#include "render/passes.h"

// How passes are asked for and stored: docs/passes.md tells what each convention means.
namespace quillmere::app {

// Which axis is which colour of a picture of normals. Blue is towards the viewer in all of them. OpenGl: red right,
// green up. DirectX: red right, green down. Bae: red left, green up.
enum class NormalKind { OpenGl, DirectX, Bae };
enum class LineColor { White, Black };  // on black, on white

// What command lines and records call them, by their numbers.
inline constexpr std::array<const char*, 2> kDepthKindWords{"inverse", "linear"};
inline constexpr std::array<const char*, 3> kNormalKindWords{"opengl", "directx", "bae"};
inline constexpr std::array<const char*, 2> kLineColorWords{"white", "black"};

// What was asked for; what is left out is the host's default.
struct PassSettings {
  std::optional<render::DepthRange> range;  // none: of all that is seen in the frames
  std::optional<render::DepthTone::Kind> depth;
  std::optional<NormalKind> normal;
  std::optional<LineColor> lines;

  // Takes over what isn't given here.
  void complete(const PassSettings& other);
};

// A pass that can be asked for by name, and what it can be stored in.
struct NamedPass {
  render::Pass pass;
  const char* name;
  bool isPicture;  // values from 0 to 1: fit for a PNG
};
inline constexpr std::array<NamedPass, 7> kNamedPasses{{{render::Pass::Depth, "depth", true},
                                                        {render::Pass::Normal, "normal", true},
                                                        {render::Pass::Position, "position", false},
                                                        {render::Pass::Object, "object", true},
                                                        {render::Pass::Material, "material", true},
                                                        {render::Pass::Albedo, "albedo", true},
                                                        {render::Pass::Lines, "lines", true}}};

// The pass of that name; null when there is none.
const NamedPass* passCalled(const std::string& name);

// The index of a word that must be one of `words`.
template <class Kind, class Words>
std::optional<Kind> kindCalled(const Words& words, const std::string& word) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (word == words[i]) return static_cast<Kind>(i);
  }
  return {};
}
template <class Kind, class Words>
const char* wordOf(const Words& words, Kind kind) {
  return words[static_cast<std::size_t>(kind)];
}

// Reads "NEAR:FAR" in metres. Throws Failure (usage).
render::DepthRange parseDepthRange(const std::string& text);
// The same text again: read back it is the same range.
std::string textOf(const render::DepthRange& range);
std::string textOf(float metres);

// The settings that a record's "passes" tells: of anything else there are none.
PassSettings passSettingsIn(const Json& record);

}  // namespace quillmere::app
