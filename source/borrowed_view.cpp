#include "borrowed_view.h"

#include "dbasedraw.h"
#include "lib_description.h"

namespace quillmere {

using namespace cinema;

namespace {

DescID ActiveMode() {
  return ConstDescID(DescLevel(BASEDRAW_DATA_SDISPLAYACTIVE, DTYPE_LONG, 0));
}
DescID InactiveMode() {
  return ConstDescID(DescLevel(BASEDRAW_DATA_SDISPLAYINACTIVE, DTYPE_LONG, 0));
}

GeData ModeOf(const BaseDraw& view, const DescID& mode) {
  GeData value;
  view.GetParameter(mode, value, DESCFLAGS_GET::NONE);
  return value;
}

}  // namespace

BorrowedDocumentCamera::BorrowedDocumentCamera(BaseDocument& document, BaseObject* camera)
    : document_(document), former_(document.GetSceneCamera()), taken_(document.SetSceneCamera(camera)) {}

BorrowedDocumentCamera::~BorrowedDocumentCamera() {
  if (taken_) document_.SetSceneCamera(former_);
}

BorrowedView::BorrowedView(BaseDraw& view, BaseDocument& document, BaseObject* camera)
    : view_(view),
      formerActiveMode_(ModeOf(view, ActiveMode())),
      formerInactiveMode_(ModeOf(view, InactiveMode())),
      formerCamera_(view.GetSceneCamera(&document)) {
  view_.SetSceneCamera(camera, false);
  view_.SetParameter(ActiveMode(), GeData(Int32(BASEDRAW_SDISPLAY_QUICK)), DESCFLAGS_SET::NONE);
  view_.SetParameter(InactiveMode(), GeData(Int32(BASEDRAW_SDISPLAY_QUICK)), DESCFLAGS_SET::NONE);
}

BorrowedView::~BorrowedView() {
  view_.SetParameter(ActiveMode(), formerActiveMode_, DESCFLAGS_SET::NONE);
  view_.SetParameter(InactiveMode(), formerInactiveMode_, DESCFLAGS_SET::NONE);
  view_.SetSceneCamera(formerCamera_, false);
}

}  // namespace quillmere
