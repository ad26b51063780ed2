#include "frame.h"

#include <utility>
#include <vector>

#include "document/document_parts.h"
#include "document/drawing.h"
#include "drendersettings.h"
#include "render_call.h"

namespace quillmere::host {

using cinema::HostSide;
using cinema::RENDERRESULT;
using cinema::VIDEOPOSTCALL;

namespace {

// Outermost first. The host's lines belong inside the last one; they are drawn when somebody reads them.
constexpr VIDEOPOSTCALL kLevels[] = {VIDEOPOSTCALL::FRAMESEQUENCE, VIDEOPOSTCALL::FRAME, VIDEOPOSTCALL::SUBFRAME,
                                     VIDEOPOSTCALL::RENDER, VIDEOPOSTCALL::INNER};

cinema::VideoPostData& dataOf(cinema::BaseVideoPost& effect) {
  return static_cast<cinema::VideoPostData&>(*HostSide<cinema::C4DAtom>::parts(effect).data);
}

std::vector<cinema::BaseVideoPost*> agreeingEffects(const DocumentParts& document) {
  const cinema::Int32 engine = document.renderData->GetDataInstanceRef().GetInt32(RDATA_RENDERENGINE);
  std::vector<cinema::BaseVideoPost*> agreeing;
  for (const auto& effect : document.effects) {
    if (dataOf(*effect).RenderEngineCheck(effect.get(), engine)) agreeing.push_back(effect.get());
  }
  return agreeing;
}

// The calls of one frame, each opening one paired with a closing one for the same effects.
class Bracket {
 public:
  Bracket(std::vector<cinema::BaseVideoPost*> effects, RenderCall& call, const BreakTest& userBreak)
      : effects_(std::move(effects)), call_(call), userBreak_(userBreak) {}

  void run() {
    for (const VIDEOPOSTCALL level : kLevels) {
      if (!open(level)) break;
    }
    for (; !opened_.empty(); opened_.pop_back()) close(opened_.back());
    if (call_.result() != RENDERRESULT::OK && broken()) call_.result() = RENDERRESULT::USERBREAK;
  }

 private:
  struct Opened {
    VIDEOPOSTCALL level;
    std::size_t effects;  // how many, from the first
  };

  bool broken() const { return userBreak_ && userBreak_(); }

  // An effect that fails keeps those behind it from being asked.
  bool open(VIDEOPOSTCALL level) {
    if (broken()) call_.result() = RENDERRESULT::USERBREAK;
    if (call_.result() != RENDERRESULT::OK) return false;
    opened_.push_back({level, 0});
    for (cinema::BaseVideoPost* effect : effects_) {
      ++opened_.back().effects;
      if (!execute(*effect, level, true)) return false;
    }
    return true;
  }

  void close(const Opened& opened) {
    for (std::size_t i = 0; i < opened.effects; ++i) execute(*effects_[i], opened.level, false);
  }

  bool execute(cinema::BaseVideoPost& effect, VIDEOPOSTCALL level, bool open) {
    const RENDERRESULT result = dataOf(effect).Execute(&effect, &call_.at(level, open));
    if (call_.result() == RENDERRESULT::OK) call_.result() = result;
    return result == RENDERRESULT::OK;
  }

  const std::vector<cinema::BaseVideoPost*> effects_;
  RenderCall& call_;
  const BreakTest& userBreak_;
  std::vector<Opened> opened_;
};

}  // namespace

Frame renderFrame(Document& document, const BreakTest& userBreak, const FrameSettings& settings) {
  const DocumentParts& parts = partsOf(document.api());
  const cinema::BaseContainer& size = parts.renderData->GetDataInstanceRef();
  const RenderCall::Buffer buffer{.width = size.GetInt32(RDATA_XRES), .height = size.GetInt32(RDATA_YRES)};
  try {
    RenderCall call(&document, buffer, userBreak, settings);
    Bracket(agreeingEffects(parts), call, userBreak).run();
    if (call.result() != RENDERRESULT::OK) return {call.result(), {}};
    return call.take();
  } catch (const Error& error) {
    reportUndrawn(error.what());
    return {RENDERRESULT::FAILED, {}};
  } catch (const std::bad_alloc&) {
    reportUndrawn("there is not enough memory");
    return {RENDERRESULT::OUTOFMEMORY, {}};
  }
}

}  // namespace quillmere::host
