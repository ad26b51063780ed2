#pragma once

#include <cstdint>
#include <functional>

#include "document.h"

namespace quillmere::host {

using BreakTest = std::function<bool()>;  // true once the user has stopped the render; any thread, never blocks

struct FrameSettings {
  int samples = 16;        // of the host's own drawing
  std::uint32_t seed = 1;  // of the host's own drawing
};

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

}  // namespace quillmere::host
