#include "document/drawing.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/events.h"
#include "core/substitutes.h"
#include "core/text.h"
#include "dbasedraw.h"
#include "document/bitmap.h"
#include "drendersettings.h"
#include "image/conversion.h"

namespace quillmere::host {

using cinema::RENDERRESULT;

namespace {

// Where in its range a stored value counts as black or white, and how much of a picture must be so.
constexpr float kNearlyBlack = 0.03F, kNearlyWhite = 0.985F, kNearlyAll = 0.995F;

constexpr int kStep = 4;  // a pixel out of so many each way is looked at

// The share of pixels all of whose channels pass the test.
template <class Test>
float shareOf(const image::Image& picture, const Test& test) {
  std::size_t count = 0, all = 0;
  for (int y = 0; y < picture.height(); y += kStep) {
    image::withSampleType(picture.sample(), [&]<class T>(T) {
      const T* values = picture.row<T>(y);
      for (int x = 0; x < picture.width(); x += kStep, values += kStep * picture.channels(), ++all) {
        count += std::all_of(values, values + 3, [&](T value) { return test(image::sampleAs<float>(value)); }) ? 1 : 0;
      }
    });
  }
  return static_cast<float>(count) / static_cast<float>(all);
}

// Once for a document, since its other frames will mostly be alike.
void reportPlain(DocumentParts& document, const image::Image& picture) {
  if (!document.note.empty()) return;
  const bool black = shareOf(picture, [](float value) { return value < kNearlyBlack; }) > kNearlyAll;
  const bool white = !black && shareOf(picture, [](float value) { return value > kNearlyWhite; }) > kNearlyAll;
  if (!black && !white) return;
  document.note = std::string("the picture of the scene is nearly all ") +
                  (black ? "black: look at the camera and the lights, or try --light default and --exposure 3"
                         : "white: look at the camera and the lights, or try --exposure -3");
  cinema::GePrint(fromUtf8("quillmere: " + document.note));
}

template <class Draw>
Drawing drawThrough(const cinema::BaseObject* object, DocumentParts& document, Draw&& draw) {
  const CameraParts* camera = cameraOf(document, object);
  if (camera == nullptr) {
    reportUndrawn("the view looks through no camera of the scene: choose one");
    return {RENDERRESULT::FAILED, {}};
  }
  return drawOrReport<Drawing>([&]() -> Drawing {
    if (!document.renderer) document.renderer = std::make_unique<render::Renderer>(document.scene, document.sides);
    document.renderer->pose(document.seconds);
    image::Image picture = draw(*document.renderer, document.renderer->snapshot().cameras.at(camera->index));
    if (picture.empty()) return {RENDERRESULT::USERBREAK, {}};
    reportPlain(document, picture);
    return {RENDERRESULT::OK, std::move(picture)};
  });
}

}  // namespace

Drawing drawQuick(DocumentParts& document, const cinema::BaseObject* object, int width, int height) {
  return drawThrough(object, document, [&](render::Renderer& renderer, const scene::Camera& from) {
    if (!document.takePasses) return renderer.drawQuick(from, width, height, document.userBreak);
    render::PassRequest request = document.passRequest;
    request.passes.add(render::Pass::Picture);
    auto drawn = renderer.drawPasses(from, width, height, request, document.userBreak);
    if (!drawn) return image::Image();
    image::Image picture = std::move(drawn->picture);
    document.takePasses(picture, *drawn, from);
    return picture;
  });
}

Drawing drawFinalGuide(DocumentParts& document, const cinema::BaseObject* object, int width, int height,
                       const render::StopTest& userBreak) {
  return drawThrough(object, document, [&](render::Renderer& renderer, scene::Camera from) {
    image::Image picture = renderer.drawFinal(from, width, height, document.finalSettings, userBreak);
    if (!document.takePasses || picture.empty()) return picture;
    render::PassRequest request = document.passRequest;
    request.finalSamples = document.finalSettings;
    const auto drawn = renderer.drawPasses(from, width, height, request, userBreak);
    if (!drawn) return image::Image();
    document.takePasses(picture, *drawn, from);
    return picture;
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
  Drawing drawing = drawFinalGuide(partsOf(document), document.GetSceneCamera(), width, height, stop);
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
