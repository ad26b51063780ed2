#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>

#include "c4d.h"
#include "commands.h"
#include "dbasedraw.h"
#include "drendersettings.h"
#include "options.h"
#include "report/output.h"
#include "sdk/api/application.h"
#include "sdk/api/document.h"
#include "sdk/core/text.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

using namespace cinema;

struct Options {
  SceneOptions scene;
  std::string output;
  std::int32_t frame = 0;
  GuideMode mode = GuideMode::QuickShading;
};

void refuseOtherFormats(const std::string& output) {
  std::string ending = std::filesystem::path(output).extension().string();
  for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  if (ending == ".png") return;
  throw Failure(ExitStatus::Usage, "-o '" + output + "'", "a guide image is a PNG", "end the file's name in .png");
}

// Why the host could not draw, which it tells its console alone.
struct Console : host::Events {
  void console(const std::string& line) override {
    if (line.starts_with(host::kUndrawn)) undrawn = line.substr(host::kUndrawn.size());
  }

  std::string undrawn;
};

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

// Draws the document's current frame through `camera` (one of its own) with the host operations that the effect uses
// for its guide, and writes it as a PNG beside `file`, which it then replaces.
void writeGuide(host::Document& document, BaseObject& camera, GuideMode mode, PictureSize size,
                const std::filesystem::path& file) {
  Console console;
  const host::Application application(".", console);  // for its console alone
  AutoAlloc<BaseBitmap> picture;
  if (!picture || picture->Init(size.width, size.height, 32) != IMAGERESULT::OK) {
    fail("no memory for a picture of that size", "give --size smaller sides");
  }
  BaseDocument& api = document.api();
  const bool drawn =
      mode == GuideMode::FinalRender ? drawFinal(api, camera, size, *picture) : drawQuick(api, camera, *picture);
  if (!drawn) fail(console.undrawn.empty() ? "the scene could not be drawn" : console.undrawn);
  if (picture->Save(host::filenameOf(file), FILTER_PNG, nullptr, SAVEBIT::NONE) != IMAGERESULT::OK) {
    fail("cannot write '" + file.string() + "'", "give -o a file in a folder that is there and that you may write to");
  }
}

ExitStatus run(const Options& options) {
  refuseOtherFormats(options.output);
  requireUtf8("-o '" + options.output + "'", options.output);
  host::Document document(options.scene.scene);
  printWarnings(document.warnings());
  document.setFps(options.scene.fps);
  document.setFrame(options.frame);
  if (document.cameras().empty()) {
    throw Failure(ExitStatus::Failed, "scene '" + options.scene.scene + "'", "it has no camera to look through",
                  "add a camera to it");
  }
  const host::Document::Camera& camera =
      options.scene.camera.empty() ? document.cameras().front() : cameraCalled(options.scene.camera, document);
  writeGuide(document, *camera.object, options.mode, options.scene.size, options.output);
  return ExitStatus::Done;
}

}  // namespace

Action addGuide(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneOptions(command, options->scene);
  command.add_option("-o,--output", options->output, "The PNG to write")->required()->type_name("FILE.png");
  command.add_option("--frame", options->frame, "The frame to draw")->capture_default_str()->type_name("N");
  addGuideMode(command, [options = options.get()](GuideMode mode) { options->mode = mode; });
  command.footer("Example:\n  quillmere guide harbour.glb -o guide.png --camera Quayside --size 1920x1080");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
