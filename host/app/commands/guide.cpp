#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>

#include "c4d.h"
#include "commands.h"
#include "dbasedraw.h"
#include "drendersettings.h"
#include "options.h"
#include "pass_options.h"
#include "passes/depth_range.h"
#include "passes/pass_export.h"
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
  FrameSet frames;
  GuideMode mode = GuideMode::QuickShading;
  DrawingOptions drawing;
  std::vector<std::string> passes;  // none: the guide itself
  PassSettings passSettings;
};

void refuseOtherFormats(const std::string& output) {
  std::string ending = std::filesystem::path(output).extension().string();
  for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  if (ending == ".png") return;
  throw Failure(ExitStatus::Usage, "-o '" + output + "'", "a guide image is a PNG",
                "end the file's name in .png; passes, which --pass names, go into an .exr as well");
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

void refuseFrames(const FrameSet& frames) {
  if (frames.count() == 1) return;
  throw Failure(ExitStatus::Usage, "--frames " + frames.text(), "a guide is drawn of one frame",
                "write one number; passes, which --pass names, can be of several");
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
// for its guide.
void drawGuide(host::Document& document, BaseObject& camera, GuideMode mode, PictureSize size, BaseBitmap* picture) {
  Console console;
  const host::Application application(".", console);  // for its console alone
  if (picture == nullptr || picture->Init(size.width, size.height, 32) != IMAGERESULT::OK) {
    fail("no memory for a picture of that size", "give --size smaller sides");
  }
  BaseDocument& api = document.api();
  const bool drawn =
      mode == GuideMode::FinalRender ? drawFinal(api, camera, size, *picture) : drawQuick(api, camera, *picture);
  if (!drawn) fail(console.undrawn.empty() ? "the scene could not be drawn" : console.undrawn);
}

// Writes the guide as a PNG beside `file`, which it then replaces.
void writeGuide(host::Document& document, BaseObject& camera, const Options& options,
                const std::filesystem::path& file) {
  AutoAlloc<BaseBitmap> picture;
  drawGuide(document, camera, options.mode, options.scene.size, picture);
  if (picture->Save(host::filenameOf(file), FILTER_PNG, nullptr, SAVEBIT::NONE) != IMAGERESULT::OK) {
    fail("cannot write '" + file.string() + "'", "give -o a file in a folder that is there and that you may write to");
  }
}

void goTo(std::int32_t frame, const FrameClock& clock, host::Document& document) {
  document.setFrame(frame, clock.secondsAt(frame));
}

void writeGuides(host::Document& document, const std::vector<std::string>& cameras, const Options& options) {
  OutputPattern output = OutputPattern::parse(options.output);
  if (options.scene.cameras.size() > 1) output = output.namingCameras();
  refuseSharedFiles(cameras, output);
  goTo(options.frames.first(), options.scene.clock, document);
  for (const std::string& camera : cameras) {
    writeGuide(document, *cameraCalled(camera, document).object, options,
               output.forCamera(camera).fileFor(options.frames.first()));
  }
}

// The colour of passes stands on black, which is nothing where it is added.
void drawOnBlack(host::Document& document, const DrawingOptions& options) {
  render::FinalSettings settings = document.finalSettings();
  settings.background = glm::vec3(0.0F);
  document.setDrawing(settings, sidesOf(options));
}

render::PassRequest requestFor(const PassExport& files, const std::string& camera, const Options& options,
                               const std::shared_ptr<const scene::Scene>& scene) {
  render::PassRequest request = files.request();
  if (options.passSettings.range) {
    request.tone.range = *options.passSettings.range;
  } else if (files.hasDepthPicture()) {
    const std::vector<double> seconds = posesOf(options.frames, options.scene.clock);
    request.tone.range = depthRangeOf(scene, camera, {seconds, options.scene.size, sidesOf(options.drawing)});
    printError("depth from white at " + textOf(request.tone.range.near) + " to black at " +
               textOf(request.tone.range.far) + " m: --depth-range " + textOf(request.tone.range));
  }
  return request;
}

void writePasses(host::Document& document, const std::vector<std::string>& cameras, const Options& options,
                 const std::shared_ptr<const scene::Scene>& scene) {
  PassExport files(options.output, options.passes, options.passSettings);
  if (options.scene.cameras.size() > 1) files.nameCameras();
  if (options.frames.count() > 1) files.numberFrames();
  files.refuseSharedFiles(cameras);
  if (files.holdsColor()) drawOnBlack(document, options.drawing);
  const SceneNames names(*scene);
  for (const std::string& camera : cameras) {
    document.drawPasses(requestFor(files, camera, options, scene), [&](const host::GuidePasses& drawn) {
      for (const auto& file : files.write(drawn, names, camera)) printResult(file.string() + "\n");
    });
    for (std::int64_t index = 0; index < options.frames.count(); ++index) {
      goTo(options.frames.at(index), options.scene.clock, document);
      AutoAlloc<BaseBitmap> guide;
      drawGuide(document, *cameraCalled(camera, document).object, options.mode, options.scene.size, guide);
    }
  }
}

ExitStatus run(const Options& options) {
  requireUtf8("-o '" + options.output + "'", options.output);
  if (options.passes.empty()) refuseOtherFormats(options.output);
  if (options.passes.empty()) refuseFrames(options.frames);
  const OpenedScene opened = openScene(options.scene, options.frames);
  host::Document document(opened.scene, options.scene.scene);
  printWarnings(document.warnings());
  for (const std::string& note : opened.notes) printError(note);
  document.setFps(options.scene.clock.rate.whole());
  applyTo(document, options.drawing);
  std::vector<std::string> cameras = opened.cameras;
  if (cameras.empty()) cameras.push_back(document.cameras().front().name);
  if (options.passes.empty()) {
    writeGuides(document, cameras, options);
  } else {
    writePasses(document, cameras, options, opened.scene);
  }
  if (options.passes.empty() && !document.drawingNote().empty()) {
    printError("warning: " + document.drawingNote());
  }
  return ExitStatus::Done;
}

}  // namespace

Action addGuide(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneOptions(command, options->scene);
  command
      .add_option("-o,--output", options->output,
                  "The PNG to write, of passes also an .exr; placeholders as in render, and {pass}")
      ->required()
      ->type_name("FILE.png|exr");
  command
      .add_option_function<std::string>(
          "--frame,--frames",
          [options = options.get()](const std::string& text) { options->frames = parseFrameSet(text); },
          "The frame to draw; of passes also several")
      ->type_name("N|A-B|A-BxSTEP,...")
      ->default_str("0");
  addTime(command, options->scene, "--frame");
  addGuideMode(command, [options = options.get()](GuideMode mode) { options->mode = mode; });
  addDrawingOptions(command, options->drawing);
  addPassOptions(command, options->passes, options->passSettings);
  command.footer(
      "Examples:\n"
      "  quillmere guide harbour.glb -o guide.png --camera Quayside --size 1920x1080\n"
      "  quillmere guide harbour.glb --pass depth --pass lines --frames 1-48 -o shots/harbour_{pass}_####.png\n"
      "  quillmere guide harbour.glb --pass all -o harbour.exr");
  return [options] {
    if (options->scene.clock.time) {
      const std::int32_t frame = frameAt(*options->scene.clock.time, options->scene.clock.rate);
      options->frames = FrameSet({frame, frame, 1});
    }
    return run(*options);
  };
}

}  // namespace quillmere::app
