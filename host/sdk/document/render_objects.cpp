#include "document/render_objects.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "core/application_state.h"
#include "core/text.h"

namespace cinema {

using quillmere::host::events;
using quillmere::host::LineBuffer;

namespace {

std::optional<LineBuffer::Depth> depthOf(Int32 bits) {
  if (bits == 8) return LineBuffer::Depth::Byte;
  if (bits == 16) return LineBuffer::Depth::Word;
  if (bits == 32) return LineBuffer::Depth::Float;
  return std::nullopt;
}

}  // namespace

VPBuffer::VPBuffer(Parts* parts) : parts_(parts) {}
VPBuffer::~VPBuffer() {
  delete parts_;
}
Int32 VPBuffer::GetBw() const {
  return parts_->lines->width();
}
Int32 VPBuffer::GetBh() const {
  return parts_->lines->height();
}
Int32 VPBuffer::GetCpp() const {
  return parts_->lines->components();
}

// The buffer keeps floats, which hold every value of the other depths: there is nothing to dither.
Bool VPBuffer::SetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32 bitdepth, Bool) const {
  const auto depth = depthOf(bitdepth);
  return depth && parts_->lines->write(x, y, cnt, data, *depth);
}

Bool VPBuffer::GetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32 bitdepth, Bool) const {
  const auto depth = depthOf(bitdepth);
  return depth && parts_->lines->read(x, y, cnt, data, *depth);
}

Render::Render(Parts* parts) : parts_(parts) {}
Render::~Render() {
  delete parts_;
}
VPBuffer* Render::GetBuffer(Int32 id, Int32 subid) const {
  return id == VPBUFFER_RGBA && subid == NOTOK ? parts_->rgba : nullptr;
}

BaseThread::BaseThread(Parts* parts) : parts_(parts) {}
BaseThread::~BaseThread() {
  delete parts_;
}
Bool BaseThread::TestBreak() {
  return parts_->userBreak && parts_->userBreak();
}

VolumeData::VolumeData() : parts_(nullptr) {}
VolumeData* VolumeData::Alloc() {
  return new VolumeData;
}
void VolumeData::Free(VolumeData*& vd) {
  delete vd;
  vd = nullptr;
}
void VolumeData::StatusSetText(const maxon::String& str) const {
  events().statusText(quillmere::host::toUtf8(str));
}
void VolumeData::StatusSetSpinMode(Bool on) const {
  events().statusSpin(on);
}
void VolumeData::StatusSetBar(Float fraction) const {
  if (!std::isnan(fraction)) events().statusBar(std::clamp(fraction, 0.0, 1.0));
}

}  // namespace cinema
