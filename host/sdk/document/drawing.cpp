#include "drawing.h"

#include <new>
#include <utility>

#include "core/text.h"

namespace quillmere::host {

using cinema::RENDERRESULT;

namespace {

template <class Draw>
Drawn folded(DocumentParts& document, const cinema::BaseObject* object, Draw&& draw) {
  const CameraParts* camera = cameraOf(document, object);
  if (camera == nullptr) {
    reportUndrawn("the view looks through no camera of the scene: choose one");
    return {RENDERRESULT::FAILED, {}};
  }
  try {
    if (!document.stage) document.stage = std::make_unique<render::Renderer>(document.scene);
    document.stage->pose(document.time.Get());
    image::Image picture = draw(*document.stage, document.stage->snapshot().cameras.at(camera->index));
    if (picture.empty()) return {RENDERRESULT::USERBREAK, {}};
    return {RENDERRESULT::OK, std::move(picture)};
  } catch (const std::bad_alloc&) {
    reportUndrawn("there is not enough memory");
    return {RENDERRESULT::OUTOFMEMORY, {}};
  } catch (const std::exception& error) {
    reportUndrawn(error.what());
    return {RENDERRESULT::FAILED, {}};
  }
}

}  // namespace

Drawn drawQuick(DocumentParts& document, const cinema::BaseObject* object, int width, int height) {
  return folded(document, object, [&](render::Renderer& stage, const scene::Camera& from) {
    return stage.drawQuick(from, width, height, document.userBreak);
  });
}

Drawn drawFinal(DocumentParts& document, const cinema::BaseObject* object, int width, int height,
                const FrameSettings& settings, const BreakTest& userBreak) {
  return folded(document, object, [&](render::Renderer& stage, const scene::Camera& from) {
    return stage.drawFinal(from, width, height, {settings.samples, settings.seed}, userBreak);
  });
}

void reportUndrawn(const std::string& why) {
  cinema::GePrint(fromUtf8("quillmere: the scene is not drawn: " + why));
}

}  // namespace quillmere::host
