#include "bitmap.h"
#include "core/running.h"

namespace cinema {

namespace {

Bool show(const BaseBitmap* bm) {
  quillmere::host::Running* application = quillmere::host::running();
  if (!application || !bm || bm->GetBw() == 0) return false;
  application->events.pictureViewer(HostSide<BaseBitmap>::pixels(*bm).pixels());
  return true;
}

}  // namespace

Bool ShowBitmap(BaseBitmap* bm) {
  return show(bm);
}

// This host's viewer has no title to put the name into.
Bool ShowBitmap(BaseBitmap* bm, const String&) {
  return show(bm);
}

Bool ShowBitmap(const Filename& fn) {
  AutoAlloc<BaseBitmap> loaded;
  return loaded.GetPointer() && loaded->Init(fn) == IMAGERESULT::OK && show(loaded.GetPointer());
}

}  // namespace cinema
