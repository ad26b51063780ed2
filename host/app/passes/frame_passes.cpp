#include "frame_passes.h"

#include <algorithm>
#include <utility>

#include "image/cryptomatte.h"
#include "image/file_formats.h"

namespace quillmere::app {
namespace {

using render::Pass;

constexpr int kVersion = 1;  // of what the helper is told

}  // namespace

FramePasses::FramePasses(host::Document& document, const scene::Scene& scene, PassWish wish,
                         const PassSettings& settings, PassFiles files)
    : document_(document),
      wish_(std::move(wish)),
      settings_(settings),
      files_(std::move(files)),
      names_(scene),
      objectColors_(names_.objects),
      materialColors_(names_.materials) {
  for (const std::string& name : wish_.mattes) mattes_.push_back(matteCalled(name, names_));
  if (wish_.empty()) return;
  document_.drawPasses(request(), [this](const host::GuidePasses& drawn) { files_.tell(write(drawn)); });
}

FramePasses::~FramePasses() {
  document_.drawPasses({}, {});
}

render::PassRequest FramePasses::request() const {
  render::PassRequest request;
  request.passes = wish_.passes;
  for (const WishedMatte& matte : mattes_) {
    request.passes.add(matte.of == WishedMatte::Of::Object ? Pass::Object : Pass::Material);
  }
  if (mattes_.empty()) request.matteLayers = 1;
  request.tone = {settings_.depth.value_or(render::DepthTone::Kind::Inverse),
                  settings_.range.value_or(render::DepthRange{})};
  return request;
}

std::string FramePasses::save(const image::Image& picture, const std::string& stem, int frame) const {
  const std::filesystem::path file = files_.fileFor(stem, frame);
  image::writePng(file, picture);
  return file.string();
}

Json FramePasses::write(const host::GuidePasses& drawn) const {
  const render::Passes& passes = drawn.passes;
  const auto saved = [&](const char* name, const image::Image& picture) {
    return Json{{"file", save(picture, name, drawn.frame)}};
  };
  Json told{{"version", kVersion}, {"frame", drawn.frame}};
  if (wish_.passes.has(Pass::Depth)) {
    const render::DepthTone tone = request().tone;
    told["depth"] = saved("depth", depthPicture(passes));
    told["depth"].update(
        Json{{"kind", wordOf(kDepthKindWords, tone.kind)}, {"near", tone.range.near}, {"far", tone.range.far}});
  }
  if (wish_.passes.has(Pass::Normal)) {
    const NormalKind kind = wish_.normal.value_or(settings_.normal.value_or(NormalKind::OpenGl));
    told["normal"] = saved("normal", normalPicture(passes, kind));
    told["normal"]["kind"] = wordOf(kNormalKindWords, kind);
  }
  if (wish_.passes.has(Pass::Lines)) {
    told["lines"] = saved("lines", linesPicture(passes, LineColor::White));
    told["lines"]["polarity"] = "white_on_black";
  }
  if (wish_.passes.has(Pass::Object)) {
    told["object"] = saved("object", objectColors_.picture(passes.objects));
    told["object"]["names"] = objectColors_.namesIn(passes.objects);
  }
  if (wish_.passes.has(Pass::Material)) {
    told["material"] = saved("material", materialColors_.picture(passes.materials));
    told["material"]["names"] = materialColors_.namesIn(passes.materials);
  }
  if (wish_.passes.has(Pass::Albedo)) told["albedo"] = saved("albedo", albedoPicture(passes));
  if (!mattes_.empty()) told["mattes"] = mattesOf(drawn);
  return told;
}

Json FramePasses::mattesOf(const host::GuidePasses& drawn) const {
  Json told = Json::array();
  for (std::size_t i = 0; i < mattes_.size(); ++i) {
    const WishedMatte& matte = mattes_[i];
    const bool object = matte.of == WishedMatte::Of::Object;
    const auto& planes = object ? drawn.passes.objects : drawn.passes.materials;
    const std::string file =
        save(mattePicture(planes, image::matteId(matte.name)), "matte_" + std::to_string(i + 1), drawn.frame);
    told.push_back({{"name", wish_.mattes[i]}, {"of", object ? "object" : "material"}, {"file", file}});
  }
  return told;
}

}  // namespace quillmere::app
