#include "api/frame.h"

#include <utility>
#include <vector>

#include "document/drawing.h"
#include "document/render_objects.h"
#include "drendersettings.h"

namespace quillmere::host {

using cinema::HostSide;
using cinema::RENDERRESULT;
using cinema::VIDEOPOSTCALL;

struct RenderCall::Parts {
  Parts(Document* document, std::optional<Buffer> buffer, BreakTest userBreak, const FrameSettings& settings);
  ~Parts();
  image::Image draw();

  DocumentParts* document;  // may be null
  BreakTest userBreak, formerBreak;
  FrameSettings settings;
  RENDERRESULT result = RENDERRESULT::OK;
  RENDERRESULT ownResult = RENDERRESULT::OK;  // of the host's own drawing, OK until it ran

  std::optional<LineBuffer> lines;
  std::optional<HostSide<cinema::VideoPostStruct>> objects;
};

// For as long as this frame lasts, its break also stops what is drawn from inside it.
RenderCall::Parts::Parts(Document* of, std::optional<Buffer> asked, BreakTest test, const FrameSettings& drawing)
    : document(of ? &partsOf(of->api()) : nullptr), userBreak(std::move(test)), settings(drawing) {
  if (asked) lines.emplace(asked->width, asked->height, asked->components, [this] { return draw(); });
  objects.emplace(lines ? &*lines : nullptr, userBreak);
  cinema::VideoPostStruct& call = objects->call;
  call.thread = &objects->thread;
  call.error = &result;
  call.renderflags = cinema::RENDERFLAGS::EXTERNAL;
  if (!document) return;
  call.doc = &of->api();
  call.time = document->time;
  call.fps = document->fps;
  formerBreak = std::exchange(document->userBreak, userBreak);
}

RenderCall::Parts::~Parts() {
  if (document) document->userBreak = std::move(formerBreak);
}

image::Image RenderCall::Parts::draw() {
  if (!document) return {lines->width(), lines->height(), 3, image::Sample::Float};
  Drawing own =
      drawFinal(*document, partsOf(*document->view).camera, lines->width(), lines->height(), settings, userBreak);
  ownResult = own.result;
  return std::move(own.picture);
}

RenderCall::RenderCall(Document* document, std::optional<Buffer> buffer, BreakTest userBreak,
                       const FrameSettings& settings)
    : parts_(std::make_unique<Parts>(document, buffer, std::move(userBreak), settings)) {}

RenderCall::~RenderCall() = default;

cinema::VideoPostStruct& RenderCall::at(VIDEOPOSTCALL call, bool open) {
  const bool atRender = call == VIDEOPOSTCALL::RENDER, inside = call > VIDEOPOSTCALL::RENDER;
  auto& objects = *parts_->objects;
  objects.call.vp = call;
  objects.call.open = open;
  objects.call.vd = inside || (atRender && open) ? &objects.volume : nullptr;
  objects.call.render = inside || atRender ? &objects.render : nullptr;
  return objects.call;
}

RENDERRESULT& RenderCall::result() {
  return parts_->result;
}

Frame RenderCall::take() {
  if (!parts_->lines) return {};
  if (!parts_->lines->complete()) return {parts_->ownResult, {}};
  const auto lines = parts_->lines->drawn() ? Frame::Lines::OfHost : Frame::Lines::OfEffects;
  return {RENDERRESULT::OK, parts_->lines->take(), lines};
}

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
class CallSequence {
 public:
  CallSequence(std::vector<cinema::BaseVideoPost*> effects, RenderCall& call, const BreakTest& userBreak)
      : effects_(std::move(effects)), call_(call), userBreak_(userBreak) {}

  void run() {
    for (const VIDEOPOSTCALL level : kLevels) {
      if (!open(level)) break;
    }
    for (; !levels_.empty(); levels_.pop_back()) close(levels_.back());
    if (call_.result() != RENDERRESULT::OK && broken()) call_.result() = RENDERRESULT::USERBREAK;
  }

 private:
  struct Level {
    VIDEOPOSTCALL call;
    std::size_t effects;  // how many were asked, from the first
  };

  bool broken() const { return userBreak_ && userBreak_(); }

  // An effect that fails keeps those behind it from being asked.
  bool open(VIDEOPOSTCALL level) {
    if (broken()) call_.result() = RENDERRESULT::USERBREAK;
    if (call_.result() != RENDERRESULT::OK) return false;
    levels_.push_back({level, 0});
    for (cinema::BaseVideoPost* effect : effects_) {
      ++levels_.back().effects;
      if (!execute(*effect, level, true)) return false;
    }
    return true;
  }

  void close(const Level& level) {
    for (std::size_t i = 0; i < level.effects; ++i) execute(*effects_[i], level.call, false);
  }

  bool execute(cinema::BaseVideoPost& effect, VIDEOPOSTCALL level, bool open) {
    const RENDERRESULT result = dataOf(effect).Execute(&effect, &call_.at(level, open));
    if (call_.result() == RENDERRESULT::OK) call_.result() = result;
    return result == RENDERRESULT::OK;
  }

  const std::vector<cinema::BaseVideoPost*> effects_;
  RenderCall& call_;
  const BreakTest& userBreak_;
  std::vector<Level> levels_;
};

}  // namespace

Frame renderFrame(Document& document, const BreakTest& userBreak, const FrameSettings& settings) {
  const DocumentParts& parts = partsOf(document.api());
  const cinema::BaseContainer& size = parts.renderData->GetDataInstanceRef();
  const RenderCall::Buffer buffer{.width = size.GetInt32(RDATA_XRES), .height = size.GetInt32(RDATA_YRES)};
  return drawOrReport<Frame>([&]() -> Frame {
    RenderCall call(&document, buffer, userBreak, settings);
    CallSequence(agreeingEffects(parts), call, userBreak).run();
    if (call.result() != RENDERRESULT::OK) return {call.result(), {}};
    return call.take();
  });
}

}  // namespace quillmere::host
