#include "guide_capture.h"

#include <optional>

#include "../res/description/vpquillmere.h"
#include "borrowed_view.h"
#include "drendersettings.h"
#include "guide_in_progress.h"
#include "host_shim/view_drawing.h"

namespace quillmere {

using namespace cinema;

namespace {

constexpr Int32 kBitsPerPixel = 32;

BaseDraw* GuideView(const BaseDocument& document) {
  BaseDraw* const view = document.GetRenderBaseDraw();
  return view ? view : document.GetActiveBaseDraw();
}

bool InitGuide(AutoAlloc<BaseBitmap>& bitmap, int width, int height) {
  return bitmap.GetPointer() && bitmap->Init(width, height, kBitsPerPixel, INITBITMAPFLAGS::NONE) == IMAGERESULT::OK;
}

BaseContainer GuideRenderSettings(BaseDocument& document, int width, int height) {
  const RenderData* const active = document.GetActiveRenderData();
  BaseContainer settings = active ? active->GetDataInstanceRef() : BaseContainer();
  settings.SetInt32(RDATA_XRES, width);
  settings.SetInt32(RDATA_YRES, height);
  settings.SetBool(RDATA_SAVEIMAGE, false);
  settings.SetBool(RDATA_MULTIPASS_SAVEIMAGE, false);
  settings.SetBool(RDATA_MULTIPASS_ENABLE, false);
  return settings;
}

bool RenderThrough(BaseObject* camera, BaseDocument& document, const BaseContainer& settings, BaseBitmap* bitmap) {
  const BorrowedDocumentCamera borrowed(document, camera);
  return borrowed.taken() && RenderDocument(&document, settings, nullptr, nullptr, bitmap, RENDERFLAGS::EXTERNAL,
                                            nullptr, nullptr) == RENDERRESULT::OK;
}

}  // namespace

BaseObject* ResolveConfiguredCamera(BaseContainer* settings, BaseDocument* document) {
  if (!settings || !document) return nullptr;
  if (BaseList2D* const linked = settings->GetLink(QUILLMERE_CAMERA, document, Ocamera)) {
    return static_cast<BaseObject*>(linked);
  }
  if (BaseObject* const camera = document->GetSceneCamera()) return camera;
  if (const BaseDraw* const view = document->GetRenderBaseDraw()) {
    if (BaseObject* const camera = view->GetSceneCamera(document)) return camera;
  }
  const BaseDraw* const view = document->GetActiveBaseDraw();
  return view ? view->GetSceneCamera(document) : nullptr;
}

bool RenderReferenceImage(BaseDocument* document, BaseObject* camera, GuideMode mode, int width, int height,
                          const Filename& png) {
  const GuideInProgress guard;
  if (mode == GuideMode::FinalRender) return RenderCameraGuide(document, camera, width, height, png);
  return CaptureViewportGuide(document, camera, width, height, png);
}

bool RenderCameraGuide(BaseDocument* document, BaseObject* camera, int width, int height, const Filename& png) {
  if (!document || !camera) return false;
  AutoAlloc<BaseBitmap> bitmap;
  if (!InitGuide(bitmap, width, height)) return false;
  if (!RenderThrough(camera, *document, GuideRenderSettings(*document, width, height), bitmap)) return false;
  BaseContainer noSaveSettings;
  return bitmap->Save(png, FILTER_PNG, &noSaveSettings, SAVEBIT::NONE) == IMAGERESULT::OK;
}

bool CaptureViewportGuide(BaseDocument* document, BaseObject* camera, int width, int height, const Filename& png) {
  if (!document || !camera) return false;
  BaseDraw* const view = GuideView(*document);
  if (!view) return false;
  std::optional<AutoAlloc<BaseBitmap>> made;  // after the view is borrowed, and released after it is given back
  const BorrowedView borrowed(*view, *document, camera);
  AutoAlloc<BaseBitmap>& bitmap = made.emplace();
  return InitGuide(bitmap, width, height) && DrawViewIntoBitmap(*view, bitmap) &&
         bitmap->Save(png, FILTER_PNG, nullptr, SAVEBIT::NONE) == IMAGERESULT::OK;
}

}  // namespace quillmere
