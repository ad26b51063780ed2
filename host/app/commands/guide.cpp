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
#include "values/output_pattern.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

using namespace cinema;

struct Options {
  SceneOptions scene;
  std::string output;
  std::int32_t frame = 0;
  GuideMode mode = GuideMode::QuickShading;
  DrawingOptions drawing;
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

std::int32_t oneFrame(const std::string& text) {
  const FrameSet frames = parseFrameSet(text);
  if (frames.count() == 1) return frames.first();
  throw Failure(ExitStatus::Usage, "--frame '" + text + "'", "a guide is drawn of one frame", "write one number");
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
  OutputPattern output = OutputPattern::parse(options.output);
  if (options.scene.cameras.size() > 1) output = output.namingCameras();
  const OpenedScene opened = openScene(options.scene, FrameSet({options.frame, options.frame, 1}));
  host::Document document(opened.scene, options.scene.scene);
  printWarnings(document.warnings());
  for (const std::string& note : opened.notes) printError(note);
  const FrameClock& clock = options.scene.clock;
  document.setFps(clock.rate.whole());
  document.setFrame(options.frame, clock.secondsAt(options.frame));
  applyTo(document, options.drawing);
  std::vector<std::string> cameras = opened.cameras;
  if (cameras.empty()) cameras.push_back(document.cameras().front().name);
  refuseSharedFiles(cameras, output);
  for (const std::string& camera : cameras) {
    writeGuide(document, *cameraCalled(camera, document).object, options.mode, options.scene.size,
               output.forCamera(camera).fileFor(options.frame));
  }
  if (!document.drawingNote().empty()) printError("warning: " + document.drawingNote());
  return ExitStatus::Done;
}

}  // namespace

Action addGuide(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneOptions(command, options->scene);
  command.add_option("-o,--output", options->output, "The PNG to write; placeholders as in render")
      ->required()
      ->type_name("FILE.png");
  command
      .add_option_function<std::string>(
          "--frame", [options = options.get()](const std::string& text) { options->frame = oneFrame(text); },
          "The frame to draw")
      ->type_name("N")
      ->default_str("0");
  addTime(command, options->scene, "--frame");
  addGuideMode(command, [options = options.get()](GuideMode mode) { options->mode = mode; });
  addDrawingOptions(command, options->drawing);
  command.footer("Example:\n  quillmere guide harbour.glb -o guide.png --camera Quayside --size 1920x1080");
  return [options] {
    if (options->scene.clock.time) {
      options->frame = frameAt(*options->scene.clock.time, options->scene.clock.rate);
    }
    return run(*options);
  };
}

}  // namespace quillmere::app
