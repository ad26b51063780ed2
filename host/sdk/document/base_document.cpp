#include "document/base_document.h"

#include <algorithm>
#include <utility>

#include "core/substitutes.h"
#include "core/text.h"
#include "dbasedraw.h"
#include "drendersettings.h"

namespace quillmere::host {

using cinema::HostSide;

constexpr int kWidth = 1024, kHeight = 576;  // until somebody says otherwise

ViewParts::ViewParts() : Parts(kNoType) {
  container.SetInt32(BASEDRAW_DATA_SDISPLAYACTIVE, BASEDRAW_SDISPLAY_GOURAUD);
  container.SetInt32(BASEDRAW_DATA_SDISPLAYINACTIVE, BASEDRAW_SDISPLAY_GOURAUD);
}

DocumentParts::DocumentParts(std::shared_ptr<const scene::Scene> shown) : Parts(kNoType), scene(std::move(shown)) {}

DocumentParts::~DocumentParts() = default;

void DocumentParts::furnish(cinema::BaseDocument& api) {
  const auto standing = [&](auto parts) {
    parts->document = &api;
    return parts;
  };
  auto settings = standing(std::make_unique<cinema::AtomParts>(kNoType));
  settings->container.SetInt32(RDATA_XRES, kWidth);
  settings->container.SetInt32(RDATA_YRES, kHeight);
  settings->container.SetInt32(RDATA_RENDERENGINE, RDATA_RENDERENGINE_STANDARD);
  renderData = HostSide<cinema::RenderData>::make(std::move(settings));
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

namespace cinema {

using quillmere::host::cameraOf;
using quillmere::host::operations;
using quillmere::host::partsOf;

namespace {

BaseDraw* viewOf(BaseDocument& document) {
  return partsOf(document).view.get();
}

bool lookThrough(BaseDocument& document, BaseObject* camera) {
  BaseDraw* view = document.GetActiveBaseDraw();
  if (!view || (camera && !cameraOf(partsOf(document), camera))) return false;
  view->SetSceneCamera(camera);
  return true;
}

[[maybe_unused]] const bool inTable = [] {
  operations().activeRenderData = [](BaseDocument& document) { return partsOf(document).renderData.get(); };
  operations().renderView = viewOf;
  operations().activeView = viewOf;
  operations().lookThrough = lookThrough;
  return true;
}();

}  // namespace

RenderData* BaseDocument::GetActiveRenderData() {
  return operations().activeRenderData(*this);
}
const RenderData* BaseDocument::GetActiveRenderData() const {
  return const_cast<BaseDocument*>(this)->GetActiveRenderData();
}

const BaseTime& BaseDocument::GetTime() const {
  return partsOf(*this).time;
}
Int32 BaseDocument::GetFps() const {
  return partsOf(*this).fps;
}
Filename BaseDocument::GetDocumentName() const {
  return partsOf(*this).name;
}
Filename BaseDocument::GetDocumentPath() const {
  return partsOf(*this).folder;
}

BaseObject* BaseDocument::GetSceneCamera() const {
  BaseDraw* view = GetActiveBaseDraw();
  return view ? view->GetSceneCamera(const_cast<BaseDocument*>(this)) : nullptr;
}

Bool BaseDocument::SetSceneCamera(BaseObject* camera) {
  return operations().lookThrough(*this, camera);
}

BaseDraw* BaseDocument::GetRenderBaseDraw() const {
  return operations().renderView(const_cast<BaseDocument&>(*this));
}
BaseDraw* BaseDocument::GetActiveBaseDraw() const {
  return operations().activeView(const_cast<BaseDocument&>(*this));
}

BaseObject* BaseDraw::GetSceneCamera(BaseDocument* doc) const {
  return doc && GetDocument() == doc ? partsOf(*this).camera : nullptr;
}

const BaseObject* BaseDraw::GetSceneCamera(const BaseDocument* doc) const {
  return GetSceneCamera(const_cast<BaseDocument*>(doc));
}

// An object that is no camera of the document changes nothing: a view can't look through it.
void BaseDraw::SetSceneCamera(BaseObject* op, Bool) {
  if (op && !cameraOf(partsOf(*GetDocument()), op)) return;
  partsOf(*this).camera = op;
}

}  // namespace cinema
