#include "pass_settings.h"

#include <algorithm>
#include <charconv>

#include "scene/scene.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

bool isRange(float near, float far) {
  return near > 0.0F && far > near && far <= scene::kLargestNumber && 1.0F / near > 1.0F / far;
}

const Json* memberAt(const Json* object, const char* key) {
  if (object == nullptr || !object->is_object()) return nullptr;
  const auto found = object->find(key);
  return found == object->end() ? nullptr : &*found;
}

std::string textAt(const Json* object, const char* key) {
  const Json* text = memberAt(object, key);
  return text != nullptr && text->is_string() ? text->get<std::string>() : "";
}

float numberAt(const Json* object, const char* key) {
  const Json* number = memberAt(object, key);
  return number != nullptr && number->is_number() ? number->get<float>() : 0.0F;
}

}  // namespace

void PassSettings::complete(const PassSettings& other) {
  if (!range) range = other.range;
  if (!depth) depth = other.depth;
  if (!normal) normal = other.normal;
  if (!lines) lines = other.lines;
}

const NamedPass* passCalled(const std::string& name) {
  const auto found = std::ranges::find_if(kNamedPasses, [&](const NamedPass& one) { return name == one.name; });
  return found == kNamedPasses.end() ? nullptr : &*found;
}

render::DepthRange parseDepthRange(const std::string& text) {
  render::DepthRange range;
  const char* const end = text.data() + text.size();
  const auto near = std::from_chars(text.data(), end, range.near);
  const bool parted = near.ec == std::errc{} && near.ptr != end && *near.ptr == ':';
  const auto far = parted ? std::from_chars(near.ptr + 1, end, range.far) : near;
  if (parted && far.ec == std::errc{} && far.ptr == end && isRange(range.near, range.far)) return range;
  throw Failure(ExitStatus::Usage, "--depth-range '" + text + "'", "not a range of depths",
                "write NEAR:FAR, two distances from the camera in metres above 0, for example 1.5:80");
}

std::string textOf(float metres) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), metres).ptr};
}

std::string textOf(const render::DepthRange& range) {
  return textOf(range.near) + ":" + textOf(range.far);
}

PassSettings passSettingsIn(const Json& record) {
  const Json* passes = memberAt(&record, "passes");
  const Json* depth = memberAt(passes, "depth");
  PassSettings told;
  told.depth = kindCalled<render::DepthTone::Kind>(kDepthKindWords, textAt(depth, "kind"));
  const float near = numberAt(depth, "near"), far = numberAt(depth, "far");
  if (isRange(near, far)) told.range = render::DepthRange{near, far};
  told.normal = kindCalled<NormalKind>(kNormalKindWords, textAt(memberAt(passes, "normal"), "kind"));
  return told;
}

}  // namespace quillmere::app
