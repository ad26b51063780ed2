#include "base_document.h"

#include "bitmap.h"
#include "core/substitutes.h"
#include "drawing.h"
#include "drendersettings.h"

namespace cinema {

using quillmere::host::cameraOf;
using quillmere::host::operations;
using quillmere::host::partsOf;

RenderData* DocumentOperations::activeRenderData(BaseDocument& document) {
  return partsOf(document).renderData.get();
}

BaseDraw* DocumentOperations::view(BaseDocument& document) {
  return partsOf(document).view.get();
}

bool DocumentOperations::lookThrough(BaseDocument& document, BaseObject* camera) {
  BaseDraw* view = document.GetActiveBaseDraw();
  if (!view || (camera && !cameraOf(partsOf(document), camera))) return false;
  view->SetSceneCamera(camera);
  return true;
}

// Draws the document in place: drawing changes nothing of it, so a clone would show the same. No effect takes part.
RENDERRESULT DocumentOperations::render(BaseDocument& document, const BaseContainer& settings, BaseBitmap* bitmap,
                                        RENDERFLAGS, BaseThread* thread) {
  const Int32 width = settings.GetInt32(RDATA_XRES), height = settings.GetInt32(RDATA_YRES);
  if (!bitmap || width < 1 || height < 1 || bitmap->GetBw() != width || bitmap->GetBh() != height) {
    quillmere::host::reportUndrawn("the bitmap has not the size of the render settings, " + std::to_string(width) +
                                   " x " + std::to_string(height) + ": initialise it with that");
    return RENDERRESULT::FAILED;
  }
  // Who passes no thread still wants to be stopped together with the frame that is being rendered.
  const auto stop = [&] {
    const quillmere::host::BreakTest& frames = partsOf(document).userBreak;
    return (thread && thread->TestBreak()) || (frames && frames());
  };
  const auto drawn = drawFinal(partsOf(document), document.GetSceneCamera(), width, height, {}, stop);
  if (drawn.result != RENDERRESULT::OK) return drawn.result;
  return HostSide<BaseBitmap>::show(*bitmap, drawn.picture) ? RENDERRESULT::OK : RENDERRESULT::OUTOFMEMORY;
}

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

RENDERRESULT RenderDocument(BaseDocument* doc, const BaseContainer& rdata, ProgressHook* prog, void* private_data,
                            BaseBitmap* bmp, RENDERFLAGS renderflags, BaseThread* th, WriteProgressHook*, void*) {
  if (!doc) return RENDERRESULT::FAILED;
  if (prog) prog(0.0, RENDERPROGRESSTYPE::BEFORERENDERING, private_data);
  const RENDERRESULT result = operations().renderDocument(*doc, rdata, bmp, renderflags, th);
  if (prog) prog(1.0, RENDERPROGRESSTYPE::AFTERRENDERING, private_data);
  return result;
}

}  // namespace cinema
