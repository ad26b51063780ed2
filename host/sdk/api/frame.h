#pragma once

#include <memory>
#include <optional>

#include "api/document.h"
#include "render/renderer.h"

namespace quillmere::host {

using BreakTest = render::StopTest;           // true once the user has stopped the render; any thread, never blocks
using FrameSettings = render::FinalSettings;  // of the host's own drawing

struct Frame {
  cinema::RENDERRESULT result = cinema::RENDERRESULT::OK;  // of the first effect call that was not OK
  // Float RGBA, display-referred, exactly the render data's size: what the effects wrote, and where they wrote nothing
  // the host's own drawing. Empty when result is not OK.
  image::Image picture;
  // Whose the lines are: the effects' when the host's own drawing was never needed, else the host's or both.
  enum class Lines { OfEffects, OfHost };
  Lines lines = Lines::OfHost;
};

// Renders the document's current frame: FRAMESEQUENCE, FRAME, SUBFRAME, RENDER and INNER opened and closed in pairs
// around the drawing of the lines, each call going to every effect of the render settings whose RenderEngineCheck
// agrees. After a call that is not OK no further level is opened and those open are closed. The host's drawing is
// put off until a line is read, so lines that an effect has replaced as a whole cost nothing. A break gives USERBREAK.
QM_HOST_API Frame renderFrame(Document& document, const BreakTest& userBreak, const FrameSettings& settings = {});

// What an effect is handed during one frame: the structure of a render call with its buffer, volume data and thread.
// renderFrame makes one for each frame; a program that wants to call an effect by itself makes its own.
class QM_HOST_API RenderCall {
 public:
  struct Buffer {
    int width = 0, height = 0;  // pixels
    int components = 4;         // 3 or 4
  };

  // `document` may be null, then the host's drawing under the buffer is black; else it must outlive the call. Without
  // `buffer` the render has none. Throws Error for an impossible size.
  RenderCall(Document* document, std::optional<Buffer> buffer, BreakTest userBreak, const FrameSettings& settings = {});
  ~RenderCall();
  RenderCall(const RenderCall&) = delete;
  RenderCall& operator=(const RenderCall&) = delete;

  // The structure for one call. The volume data is there from the opening RENDER call to the closing INNER call, the
  // render and its buffer from the opening to the closing RENDER call. Valid until the next at() or the end of this.
  cinema::VideoPostStruct& at(cinema::VIDEOPOSTCALL call, bool open);

  // The frame's result so far, which the structure's `error` points to. OK at first; whoever calls the effects keeps
  // it.
  cinema::RENDERRESULT& result();

  // What the effects wrote with the host's drawing under it, run now where it is needed; the buffer is spent
  // afterwards. Its result is OK, USERBREAK, OUTOFMEMORY or FAILED, the last two with the reason on the host's console.
  Frame take();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillmere::host
