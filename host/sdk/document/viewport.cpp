#include "viewport.h"

#include "bitmap.h"
#include "dbasedraw.h"
#include "drawing.h"

namespace cinema {

using quillmere::host::Drawn;
using quillmere::host::partsOf;

BaseObject* BaseDraw::GetSceneCamera(BaseDocument* doc) const {
  return doc && GetDocument() == doc ? partsOf(*this).camera : nullptr;
}

const BaseObject* BaseDraw::GetSceneCamera(const BaseDocument* doc) const {
  return GetSceneCamera(const_cast<BaseDocument*>(doc));
}

// An object that is no camera of the document changes nothing: a view can't look through it.
void BaseDraw::SetSceneCamera(BaseObject* op, Bool) {
  if (op && !quillmere::host::cameraOf(partsOf(*GetDocument()), op)) return;
  partsOf(*this).camera = op;
}

Bool drawViewIntoBitmap(BaseDraw* bd, BaseBitmap* map, Int32 id) {
  if (!bd || !map || map->GetBw() == 0 || id != 0) return false;
  const Int32 mode = partsOf(*bd).container.GetInt32(BASEDRAW_DATA_SDISPLAYINACTIVE, NOTOK);
  if (mode != BASEDRAW_SDISPLAY_QUICK) {
    quillmere::host::reportUndrawn("display mode " + std::to_string(mode) + " is not modelled, set it to 2 (quick)");
    return false;
  }
  const Drawn drawn = drawQuick(partsOf(*bd->GetDocument()), partsOf(*bd).camera, map->GetBw(), map->GetBh());
  return drawn.result == RENDERRESULT::OK && HostSide<BaseBitmap>::show(*map, drawn.picture);
}

namespace {
C4D_BaseDraw viewOperations{drawViewIntoBitmap};
}
C4D_BaseDraw* const ViewOperations = &viewOperations;

}  // namespace cinema
