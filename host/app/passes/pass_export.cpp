#include "pass_export.h"

#include <algorithm>

#include "image/file_formats.h"
#include "pass_layers.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

constexpr const char* kAll = "all";
constexpr std::string_view kPlace = "{pass}";

std::vector<const NamedPass*> passesCalled(const std::vector<std::string>& names, bool pictures) {
  std::vector<const NamedPass*> passes;
  for (const std::string& name : names) {
    for (const NamedPass& one : kNamedPasses) {
      const bool meant = name == kAll ? one.isPicture || !pictures : name == one.name;
      if (meant && std::ranges::find(passes, &one) == passes.end()) passes.push_back(&one);
    }
  }
  return passes;
}

// Where the ending begins, which a pass's name goes before.
std::size_t endingOf(const std::string& output) {
  const std::size_t folder = output.find_last_of('/'), begin = folder == std::string::npos ? 0 : folder + 1;
  const std::size_t dot = output.rfind('.');
  if (dot == std::string::npos || dot < begin) return output.size();
  const std::string before = output.substr(begin, dot - begin);
  return before.ends_with(".16") ? dot - 3 : dot;
}

std::string outputFor(const NamedPass& pass, std::string output, bool alone) {
  const std::size_t place = output.find(kPlace);
  if (place != std::string::npos) return output.replace(place, kPlace.size(), pass.name);
  return alone ? output : output.insert(endingOf(output), std::string("_") + pass.name);
}

}  // namespace

PassExport::PassExport(const std::string& output, const std::vector<std::string>& names, const PassSettings& settings)
    : settings_(settings) {
  const bool exr = OutputPattern::parse(outputFor(kNamedPasses.front(), output, true)).format() == FileFormat::Exr;
  const auto passes = passesCalled(names, !exr);
  for (const NamedPass* pass : passes) {
    passes_.add(pass->pass);
    if (!exr && !pass->isPicture) {
      throw Failure(ExitStatus::Usage, std::string("--pass ") + pass->name, "its values don't fit into a PNG",
                    "end the file's name in .exr");
    }
    if (!exr) files_.push_back({pass->pass, OutputPattern::parse(outputFor(*pass, output, passes.size() == 1))});
  }
  if (exr) files_.push_back({render::Pass::Color, OutputPattern::parse(output)});
  if (exr && std::ranges::find(names, kAll) != names.end()) passes_.add(render::Pass::Color);
}

void PassExport::numberFrames() {
  for (File& file : files_) file.output = file.output.numberingFrames();
}

void PassExport::nameCameras() {
  for (File& file : files_) file.output = file.output.namingCameras();
}

void PassExport::refuseSharedFiles(const std::vector<std::string>& cameras) const {
  for (const File& file : files_) app::refuseSharedFiles(cameras, file.output);
}

render::PassRequest PassExport::request() const {
  render::PassRequest request;
  request.passes = passes_;
  request.tone.kind = settings_.depth.value_or(render::DepthTone::Kind::Inverse);
  if (!isExr()) request.matteLayers = 1;
  return request;
}

bool PassExport::hasDepthPicture() const {
  return !isExr() && passes_.has(render::Pass::Depth);
}

std::vector<std::filesystem::path> PassExport::write(const host::GuidePasses& drawn, const SceneNames& names,
                                                     const std::string& camera) const {
  std::vector<std::filesystem::path> written;
  for (const File& file : files_) {
    const OutputPattern output = file.output.forCamera(camera);
    written.push_back(output.fileFor(drawn.frame));
    const auto depth = output.format() == FileFormat::Png16 ? image::PngDepth::As16Bit : image::PngDepth::As8Bit;
    if (output.format() == FileFormat::Exr) {
      writeLayers(written.back(), drawn, names);
    } else {
      image::writePng(written.back(), pictureOf(file.pass, drawn.passes, names), depth);
    }
  }
  return written;
}

image::Image PassExport::pictureOf(render::Pass pass, const render::Passes& passes, const SceneNames& names) const {
  switch (pass) {
    case render::Pass::Normal:
      return normalPicture(passes, settings_.normal.value_or(NormalKind::OpenGl));
    case render::Pass::Object:
      return NameColors(names.objects).picture(passes.objects);
    case render::Pass::Material:
      return NameColors(names.materials).picture(passes.materials);
    case render::Pass::Albedo:
      return albedoPicture(passes);
    case render::Pass::Lines:
      return linesPicture(passes, settings_.lines.value_or(LineColor::White));
    default:
      return depthPicture(passes);
  }
}

}  // namespace quillmere::app
