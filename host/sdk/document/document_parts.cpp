#include "document_parts.h"

#include <algorithm>
#include <utility>

#include "core/text.h"
#include "dbasedraw.h"
#include "drendersettings.h"

namespace quillmere::host {

using cinema::HostSide;

namespace {

constexpr int kWidth = 1024, kHeight = 576;  // until somebody says otherwise

}  // namespace

ViewParts::ViewParts() : Parts(kNoType) {
  container.SetInt32(BASEDRAW_DATA_SDISPLAYACTIVE, BASEDRAW_SDISPLAY_GOURAUD);
  container.SetInt32(BASEDRAW_DATA_SDISPLAYINACTIVE, BASEDRAW_SDISPLAY_GOURAUD);
}

RenderSettingsParts::RenderSettingsParts() : Parts(kNoType) {
  container.SetInt32(RDATA_XRES, kWidth);
  container.SetInt32(RDATA_YRES, kHeight);
  container.SetInt32(RDATA_RENDERENGINE, RDATA_RENDERENGINE_STANDARD);
}

DocumentParts::DocumentParts(std::shared_ptr<const scene::Scene> shown) : Parts(kNoType), scene(std::move(shown)) {}

DocumentParts::~DocumentParts() = default;

void DocumentParts::furnish(cinema::BaseDocument& api) {
  const auto standing = [&](auto parts) {
    parts->document = &api;
    return parts;
  };
  renderData = HostSide<cinema::RenderData>::make(standing(std::make_unique<RenderSettingsParts>()));
  auto viewParts = standing(std::make_unique<ViewParts>());
  for (const scene::CameraInfo& info : scene->cameras()) {
    auto camera = standing(std::make_unique<CameraParts>(cameras.size()));
    camera->name = fromUtf8(info.name);
    cameras.push_back(HostSide<cinema::BaseObject>::make(std::move(camera)));
  }
  if (!cameras.empty()) viewParts->camera = cameras.front().get();
  view = HostSide<cinema::BaseDraw>::make(std::move(viewParts));
}

DocumentParts& partsOf(const cinema::BaseDocument& document) {
  return static_cast<DocumentParts&>(HostSide<cinema::C4DAtom>::parts(document));
}

ViewParts& partsOf(const cinema::BaseDraw& view) {
  return static_cast<ViewParts&>(HostSide<cinema::C4DAtom>::parts(view));
}

const CameraParts* cameraOf(const DocumentParts& document, const cinema::BaseObject* object) {
  const auto own = std::find_if(document.cameras.begin(), document.cameras.end(),
                                [&](const auto& owner) { return owner.get() == object; });
  return own == document.cameras.end() ? nullptr : &static_cast<CameraParts&>(HostSide<cinema::C4DAtom>::parts(**own));
}

}  // namespace quillmere::host
