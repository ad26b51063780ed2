#include "document/drawing.h"

#include <utility>

#include "core/events.h"
#include "core/substitutes.h"
#include "core/text.h"
#include "dbasedraw.h"
#include "document/bitmap.h"
#include "drendersettings.h"

namespace quillmere::host {

using cinema::RENDERRESULT;

namespace {

template <class Draw>
Drawing drawThrough(const cinema::BaseObject* object, DocumentParts& document, Draw&& draw) {
  const CameraParts* camera = cameraOf(document, object);
  if (camera == nullptr) {
    reportUndrawn("the view looks through no camera of the scene: choose one");
    return {RENDERRESULT::FAILED, {}};
  }
  return drawOrReport<Drawing>([&]() -> Drawing {
    if (!document.renderer) document.renderer = std::make_unique<render::Renderer>(document.scene);
    document.renderer->pose(document.seconds);
    image::Image picture = draw(*document.renderer, document.renderer->snapshot().cameras.at(camera->index));
    if (picture.empty()) return {RENDERRESULT::USERBREAK, {}};
    return {RENDERRESULT::OK, std::move(picture)};
  });
}

}  // namespace

Drawing drawQuick(DocumentParts& document, const cinema::BaseObject* object, int width, int height) {
  return drawThrough(object, document, [&](render::Renderer& renderer, const scene::Camera& from) {
    return renderer.drawQuick(from, width, height, document.userBreak);
  });
}

Drawing drawFinal(DocumentParts& document, const cinema::BaseObject* object, int width, int height,
                  const render::FinalSettings& settings, const render::StopTest& userBreak) {
  return drawThrough(object, document, [&](render::Renderer& renderer, const scene::Camera& from) {
    return renderer.drawFinal(from, width, height, settings, userBreak);
  });
}

void reportUndrawn(const std::string& why) {
  cinema::GePrint(fromUtf8(std::string(kUndrawn) + why));
}

}  // namespace quillmere::host

namespace cinema {

using quillmere::host::Drawing;
using quillmere::host::operations;
using quillmere::host::partsOf;
using quillmere::host::reportUndrawn;

namespace {

// The view through its scene camera at the size of `map`, with options 0. Only quick shading is modelled, so that must
// be the display mode of what is not selected, and nothing ever is.
Bool drawViewIntoBitmap(BaseDraw* bd, BaseBitmap* map, Int32 id) {
  if (!bd || !map || map->GetBw() == 0 || id != 0) return false;
  const Int32 mode = partsOf(*bd).container.GetInt32(BASEDRAW_DATA_SDISPLAYINACTIVE, NOTOK);
  if (mode != BASEDRAW_SDISPLAY_QUICK) {
    reportUndrawn("display mode " + std::to_string(mode) + " is not modelled, set it to 2 (quick)");
    return false;
  }
  Drawing drawing = drawQuick(partsOf(*bd->GetDocument()), partsOf(*bd).camera, map->GetBw(), map->GetBh());
  return drawing.result == RENDERRESULT::OK && HostSide<BaseBitmap>::show(*map, std::move(drawing.picture));
}

// Draws the document in place: drawing changes nothing of it, so a clone would show the same. No effect takes part.
RENDERRESULT renderDocument(BaseDocument& document, const BaseContainer& settings, BaseBitmap* bitmap, RENDERFLAGS,
                            BaseThread* thread) {
  const Int32 width = settings.GetInt32(RDATA_XRES), height = settings.GetInt32(RDATA_YRES);
  if (!bitmap || width < 1 || height < 1 || bitmap->GetBw() != width || bitmap->GetBh() != height) {
    reportUndrawn("the bitmap has not the size of the render settings, " + std::to_string(width) + " x " +
                  std::to_string(height) + ": initialise it with that");
    return RENDERRESULT::FAILED;
  }
  // Who passes no thread still wants to be stopped together with the frame that is being rendered.
  const auto stop = [&] {
    const quillmere::render::StopTest& frames = partsOf(document).userBreak;
    return (thread && thread->TestBreak()) || (frames && frames());
  };
  Drawing drawing = drawFinal(partsOf(document), document.GetSceneCamera(), width, height, {}, stop);
  if (drawing.result != RENDERRESULT::OK) return drawing.result;
  return HostSide<BaseBitmap>::show(*bitmap, std::move(drawing.picture)) ? RENDERRESULT::OK : RENDERRESULT::OUTOFMEMORY;
}

[[maybe_unused]] const bool inTable = (operations().renderDocument = renderDocument, true);

C4D_BaseDraw viewOperations{drawViewIntoBitmap};

}  // namespace

C4D_BaseDraw* const ViewOperations = &viewOperations;

RENDERRESULT RenderDocument(BaseDocument* doc, const BaseContainer& rdata, ProgressHook* prog, void* private_data,
                            BaseBitmap* bmp, RENDERFLAGS renderflags, BaseThread* th, WriteProgressHook*, void*) {
  if (!doc) return RENDERRESULT::FAILED;
  if (prog) prog(0.0, RENDERPROGRESSTYPE::BEFORERENDERING, private_data);
  const RENDERRESULT result = operations().renderDocument(*doc, rdata, bmp, renderflags, th);
  if (prog) prog(1.0, RENDERPROGRESSTYPE::AFTERRENDERING, private_data);
  return result;
}

}  // namespace cinema
