#include "drawing_options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "image/conversion.h"
#include "image/file_formats.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

struct NamedColor {
  const char* name;
  std::uint32_t rgb;
};
constexpr std::array kColors{NamedColor{"black", 0x000000}, NamedColor{"white", 0xFFFFFF},
                             NamedColor{"grey", 0x808080},  NamedColor{"gray", 0x808080},
                             NamedColor{"red", 0xFF0000},   NamedColor{"green", 0x008000},
                             NamedColor{"blue", 0x0000FF}};

// As stored in sRGB: one of the names, or #rgb or #rrggbb.
std::optional<std::uint32_t> colorCalled(const std::string& text) {
  const auto named = std::ranges::find_if(kColors, [&](const NamedColor& one) { return text == one.name; });
  if (named != kColors.end()) return named->rgb;
  if ((text.size() != 4 && text.size() != 7) || text[0] != '#') return {};
  std::uint32_t digits = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data() + 1, end, digits, 16);
  if (read.ec != std::errc{} || read.ptr != end) return {};
  if (text.size() == 7) return digits;
  return ((digits & 0xF00U) << 8U | (digits & 0xF0U) << 4U | (digits & 0xFU)) * 0x11U;
}

float lightOf(std::uint32_t stored) {
  const float value = static_cast<float>(stored & 255U) / 255.0F;
  return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

// A panorama in light, from a file that holds light.
std::shared_ptr<const image::Image> panoramaIn(const fs::path& file) {
  return readOrFail("background '" + file.string() + "'", "give a panorama as .hdr or .exr", [&] {
    image::Image picture = image::read(file);
    if (picture.sample() != image::Sample::Float) throw Error("it holds stored colours, not light");
    return std::make_shared<const image::Image>(image::withChannels(std::move(picture), 3));
  });
}

void setBackground(render::FinalSettings& settings, const std::string& text) {
  if (text == "sky") return;
  if (const auto rgb = colorCalled(text)) {
    settings.background = glm::vec3(lightOf(*rgb >> 16U), lightOf(*rgb >> 8U), lightOf(*rgb));
  } else {
    settings.panorama = panoramaIn(text);
  }
}

[[noreturn]] void refuse(const std::string& what, const std::string& key) {
  throw Failure(ExitStatus::Failed, what, "\"" + key + "\" under \"drawing\" is no value that the option can have",
                "remove it, or give the option itself");
}

}  // namespace

void DrawingOptions::complete(const DrawingOptions& other) {
  const auto take = [](auto& mine, const auto& others) {
    if (!mine) mine = others;
  };
  take(exposure, other.exposure);
  take(samples, other.samples);
  take(background, other.background);
  take(light, other.light);
  take(twoSided, other.twoSided);
}

std::string backgroundOf(const std::string& text) {
  if (text == "sky" || colorCalled(text)) return text;
  requireUtf8("--background '" + text + "'", text);
  std::error_code error;
  if (fs::is_regular_file(text, error)) return fs::absolute(text).lexically_normal().string();
  throw Failure(ExitStatus::Usage, "--background '" + text + "'", "neither a colour nor a file",
                "give 'sky', a colour such as '#8090a0' or 'white', or a panorama (.hdr, .exr)");
}

Json jsonOf(const DrawingOptions& options) {
  Json object = Json::object();
  if (options.exposure) object["exposure"] = *options.exposure;
  if (options.samples) object["samples"] = *options.samples;
  if (options.background) object["background"] = *options.background;
  if (options.light) object["light"] = *options.light;
  if (options.twoSided) object["two_sided"] = *options.twoSided;
  return object;
}

DrawingOptions drawingOptionsOf(const Json& object, const std::string& what) {
  if (!object.is_object()) throw Failure(ExitStatus::Failed, what, "its \"drawing\" is no object", "remove it");
  DrawingOptions options;
  for (const auto& [key, value] : object.items()) {
    if (key == "exposure" && value.is_number() && std::abs(value.get<double>()) <= kMostStops) {
      options.exposure = value.get<float>();
    } else if (key == "samples" && value.is_number_unsigned() && value >= 1 && value <= kMostSamples) {
      options.samples = value.get<int>();
    } else if (key == "background" && value.is_string()) {
      options.background = backgroundOf(value.get<std::string>());
    } else if (key == "light" && std::ranges::find(kLightWords, value) != std::end(kLightWords)) {
      options.light = value.get<std::string>();
    } else if (key == "two_sided" && value.is_boolean()) {
      options.twoSided = value.get<bool>();
    } else {
      refuse(what, key);
    }
  }
  return options;
}

render::Sides sidesOf(const DrawingOptions& options) {
  return options.twoSided.value_or(false) ? render::Sides::Both : render::Sides::AsMaterialsSay;
}

void applyTo(host::Document& document, const DrawingOptions& options) {
  render::FinalSettings settings;
  settings.exposure = options.exposure.value_or(settings.exposure);
  settings.samples = options.samples.value_or(settings.samples);
  if (options.background) setBackground(settings, *options.background);
  if (options.light == "scene") settings.light = render::Lighting::Scene;
  if (options.light == "none") settings.light = render::Lighting::None;
  document.setDrawing(settings, sidesOf(options));
}

}  // namespace quillmere::app
