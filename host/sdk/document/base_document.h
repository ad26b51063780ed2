#pragma once

#include "core/atom.h"

namespace cinema {

// The document's operations before any substitute.
struct DocumentOperations {
  static RenderData* activeRenderData(BaseDocument& document);
  static BaseDraw* view(BaseDocument& document);
  static bool lookThrough(BaseDocument& document, BaseObject* camera);
  static RENDERRESULT render(BaseDocument& document, const BaseContainer& settings, BaseBitmap* bitmap,
                             RENDERFLAGS flags, BaseThread* thread);
};

}  // namespace cinema
