#include "c4d.h"
#include "customgui_linkbox.h"
#include "dbasedraw.h"
#include "drendersettings.h"
#include "lib_description.h"
#include "vpbase.h"

// The numbers that documents, settings and callers outside the module rely on, whatever names the host's headers give
// them: another value here would change what is stored or asked for without any error.
namespace cinema {
namespace {

static_assert(C4DMSG_PRIORITY == 0 && C4DPL_INIT_SYS == 1, "messages");
static_assert(PLUGINFLAG_VIDEOPOST_ISRENDERER == 8 && Int32(PLUGINTYPE::VIDEOPOST) == 8, "registration");
static_assert(RDATA_RENDERENGINE_PREVIEWHARDWARE == 300001061, "the one engine that the effect isn't offered with");

static_assert(Int32(VIDEOPOSTCALL::RENDER) == 4 && Int32(VIDEOPOSTINFO::NONE) == 0, "render calls");
static_assert(Int32(RENDERRESULT::OK) == 0 && Int32(RENDERRESULT::FAILED) == 11 &&
                  Int32(RENDERRESULT::PROJECTNOTFOUND) == 1000,
              "render results");

static_assert(ID_VIDEOPOSTPROPERTIES == 1000994 && DTYPE_GROUP == 1, "the panel's group");
static_assert(DESC_NAME == 1 && DESC_MIN == 5 && DESC_MAX == 6 && DESC_ANIMATE == 10 && DESC_ANIMATE_OFF == 0 &&
                  DESC_CYCLE == 14 && DESC_DEFAULT == 16 && DESC_ACCEPT == 17 && DESC_CUSTOMGUI == 21,
              "keys of a described parameter");
static_assert(DTYPE_BOOL == 400006001 && DTYPE_LONG == 15 && DTYPE_STRING == 130 && DTYPE_FILENAME == 131 &&
                  DTYPE_BASELISTLINK == 133 && DTYPE_STATICTEXT == 12,
              "types of a described parameter");
static_assert(CUSTOMGUI_CYCLE == 200000180 && CUSTOMGUI_STRINGMULTI == 200000007 && CUSTOMGUI_LINKBOX == 1009415,
              "fields of a described parameter");
static_assert(Int32(DESCFLAGS_DESC::LOADED) == 2 && Int32(DESCFLAGS_GET::PARAM_GET) == 2 &&
                  Int32(DESCFLAGS_SET::PARAM_SET) == 2 && Int32(DESCFLAGS_GET::NONE) == 0 &&
                  Int32(DESCFLAGS_SET::NONE) == 0,
              "answers about parameters");
static_assert(Int32(STRINGENCODING::UTF8) == 4, "texts");

static_assert(Ocamera == 5103, "what the camera link accepts");
static_assert(RDATA_XRES == 5008 && RDATA_YRES == 5009 && RDATA_SAVEIMAGE == 5076 &&
                  RDATA_MULTIPASS_SAVEIMAGE == 5200 && RDATA_MULTIPASS_ENABLE == 5202,
              "render settings");
static_assert(BASEDRAW_DATA_SDISPLAYACTIVE == 1003 && BASEDRAW_DATA_SDISPLAYINACTIVE == 1004 &&
                  BASEDRAW_SDISPLAY_QUICK == 2,
              "view settings");
static_assert(Int32(RENDERFLAGS::EXTERNAL) == 1 && FILTER_PNG == 1023671 && Int32(IMAGERESULT::OK) == 1 &&
                  Int32(INITBITMAPFLAGS::NONE) == 0 && Int32(SAVEBIT::NONE) == 0,
              "pictures");
constexpr Int32 kNoSubBuffer = NOTOK;
static_assert(VPBUFFER_RGBA == 1 && kNoSubBuffer == -1, "the render buffer");

}  // namespace
}  // namespace cinema
