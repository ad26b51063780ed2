#pragma once

#include <utility>

#include "c4d.h"
#include "document/line_buffer.h"
#include "render/renderer.h"

namespace cinema {

struct VPBuffer::Parts {
  quillmere::host::LineBuffer* lines;  // null for a render without a buffer
};

struct Render::Parts {
  VPBuffer* rgba;
};

struct BaseThread::Parts {
  quillmere::render::StopTest userBreak;
};

// What a running render hands to effects: the structure of its calls and what that points to. Made for one frame.
template <>
struct HostSide<VideoPostStruct> {
  // `lines` may be null, and must outlive this.
  HostSide(quillmere::host::LineBuffer* lines, quillmere::render::StopTest userBreak)
      : buffer(new VPBuffer::Parts{lines}),
        render(new Render::Parts{lines ? &buffer : nullptr}),
        thread(new BaseThread::Parts{std::move(userBreak)}) {}

  VPBuffer buffer;
  Render render;
  BaseThread thread;
  VolumeData volume;
  VideoPostStruct call;
};

}  // namespace cinema
