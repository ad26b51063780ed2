#include "api/render_call.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "document_parts.h"
#include "drawing.h"
#include "render_side.h"

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
  RENDERRESULT drawn = RENDERRESULT::OK;  // of the host's own drawing, OK until it ran

  std::optional<LineBuffer> lines;
  HostSide<cinema::VPBuffer>::Owner buffer;
  HostSide<cinema::Render>::Owner render;
  HostSide<cinema::VolumeData>::Owner volume = HostSide<cinema::VolumeData>::make();
  HostSide<cinema::BaseThread>::Owner thread;
  HostSide<cinema::VideoPostStruct>::Owner call = HostSide<cinema::VideoPostStruct>::make();
};

// For as long as this frame lasts, its break also stops what is drawn from inside it.
RenderCall::Parts::Parts(Document* of, std::optional<Buffer> asked, BreakTest test, const FrameSettings& drawing)
    : document(of ? &partsOf(of->api()) : nullptr), userBreak(std::move(test)), settings(drawing) {
  if (asked) {
    lines.emplace(asked->width, asked->height, asked->components, [this] { return draw(); });
    buffer = HostSide<cinema::VPBuffer>::make(*lines);
  }
  render = HostSide<cinema::Render>::make(
      buffer.get(), document ? document->renderData->GetDataInstanceRef() : cinema::BaseContainer(),
      document ? document->view.get() : nullptr);
  thread = HostSide<cinema::BaseThread>::make(userBreak);
  call->thread = thread.get();
  call->error = &result;
  call->renderflags = cinema::RENDERFLAGS::EXTERNAL;
  if (!document) return;
  call->doc = &of->api();
  call->time = document->time;
  call->fps = document->fps;
  formerBreak = std::exchange(document->userBreak, userBreak);
}

RenderCall::Parts::~Parts() {
  if (document) document->userBreak = std::move(formerBreak);
}

image::Image RenderCall::Parts::draw() {
  if (!document) return {lines->width(), lines->height(), 3, image::Sample::Float};
  Drawn own =
      drawFinal(*document, partsOf(*document->view).camera, lines->width(), lines->height(), settings, userBreak);
  drawn = own.result;
  return std::move(own.picture);
}

RenderCall::RenderCall(Document* document, std::optional<Buffer> buffer, BreakTest userBreak,
                       const FrameSettings& settings)
    : parts_(std::make_unique<Parts>(document, buffer, std::move(userBreak), settings)) {}

RenderCall::~RenderCall() = default;

cinema::VideoPostStruct& RenderCall::at(VIDEOPOSTCALL call, bool open) {
  const bool atRender = call == VIDEOPOSTCALL::RENDER, inside = call > VIDEOPOSTCALL::RENDER;
  parts_->call->vp = call;
  parts_->call->open = open;
  parts_->call->vd = inside || (atRender && open) ? parts_->volume.get() : nullptr;
  parts_->call->render = inside || atRender ? parts_->render.get() : nullptr;
  return *parts_->call;
}

RENDERRESULT& RenderCall::result() {
  return parts_->result;
}

Frame RenderCall::take() {
  if (!parts_->lines) return {};
  if (!parts_->lines->complete()) return {parts_->drawn, {}};
  const auto lines = parts_->lines->drawn() ? Frame::Lines::OfHost : Frame::Lines::OfEffects;
  return {RENDERRESULT::OK, parts_->lines->take(), lines};
}

}  // namespace quillmere::host
