#pragma once

#include <memory>

#include "api/frame.h"
#include "c4d.h"
#include "line_buffer.h"

namespace cinema {

// What a running render hands to effects. The host makes these for one frame.
template <class Object>
struct RenderSide {
  struct End {
    void operator()(Object* object) const { HostSide<Object>::end(object); }
  };
  using Owner = std::unique_ptr<Object, End>;
};

template <>
struct HostSide<VPBuffer> : RenderSide<VPBuffer> {
  static Owner make(quillmere::host::LineBuffer& lines);  // `lines` must outlive the buffer
  static void end(VPBuffer* buffer);
};

template <>
struct HostSide<Render> : RenderSide<Render> {
  // Null for a render without a buffer, or without a view.
  static Owner make(VPBuffer* rgba, BaseContainer settings, BaseDraw* view);
  static void end(Render* render);
};

template <>
struct HostSide<BaseThread> : RenderSide<BaseThread> {
  static Owner make(quillmere::host::BreakTest userBreak);
  static void end(BaseThread* thread);
};

template <>
struct HostSide<VolumeData> : RenderSide<VolumeData> {
  static Owner make();
  static void end(VolumeData* data);
};

template <>
struct HostSide<VideoPostStruct> : RenderSide<VideoPostStruct> {
  static Owner make();
  static void end(VideoPostStruct* call);
};

}  // namespace cinema
