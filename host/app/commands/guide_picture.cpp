#include "guide_picture.h"

#include "c4d.h"
#include "dbasedraw.h"
#include "drendersettings.h"
#include "sdk/core/text.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

using namespace cinema;

[[noreturn]] void fail(const std::string& why, const std::string& remedy = {}) {
  throw Failure(ExitStatus::Failed, "guide image", why, remedy);
}

bool drawQuick(BaseDocument& document, BaseObject& camera, BaseBitmap& picture) {
  BaseDraw* view = document.GetRenderBaseDraw();
  if (view == nullptr || C4DOS_Br->GetViewPortBitmap == nullptr) return false;
  view->SetSceneCamera(&camera);
  for (const Int32 display : {BASEDRAW_DATA_SDISPLAYACTIVE, BASEDRAW_DATA_SDISPLAYINACTIVE}) {
    view->SetParameter(DescID::Create(DescLevel(display, DTYPE_LONG, 0)), GeData(Int32(BASEDRAW_SDISPLAY_QUICK)),
                       DESCFLAGS_SET::NONE);
  }
  return C4DOS_Br->GetViewPortBitmap(view, &picture, 0);
}

bool drawFinal(BaseDocument& document, BaseObject& camera, PictureSize size, BaseBitmap& picture) {
  if (!document.SetSceneCamera(&camera)) return false;
  BaseContainer settings = document.GetActiveRenderData()->GetDataInstanceRef();
  settings.SetInt32(RDATA_XRES, size.width);
  settings.SetInt32(RDATA_YRES, size.height);
  for (const Int32 saving : {RDATA_SAVEIMAGE, RDATA_MULTIPASS_SAVEIMAGE, RDATA_MULTIPASS_ENABLE}) {
    settings.SetBool(saving, false);
  }
  return RenderDocument(&document, settings, nullptr, nullptr, &picture, RENDERFLAGS::EXTERNAL, nullptr) ==
         RENDERRESULT::OK;
}

}  // namespace

void writeGuide(host::Document& document, BaseObject& camera, GuideMode mode, PictureSize size,
                const std::filesystem::path& file) {
  AutoAlloc<BaseBitmap> picture;
  if (!picture || picture->Init(size.width, size.height, 32) != IMAGERESULT::OK) {
    fail("no memory for a picture of that size", "give --size smaller sides");
  }
  BaseDocument& api = document.api();
  const bool drawn =
      mode == GuideMode::FinalRender ? drawFinal(api, camera, size, *picture) : drawQuick(api, camera, *picture);
  if (!drawn) fail("the scene could not be drawn");
  if (picture->Save(host::filenameOf(file), FILTER_PNG, nullptr, SAVEBIT::NONE) != IMAGERESULT::OK) {
    fail("cannot write '" + file.string() + "'", "give -o a file in a folder that is there and that you may write to");
  }
}

}  // namespace quillmere::app
