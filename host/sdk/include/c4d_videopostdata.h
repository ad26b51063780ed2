#pragma once

#include "c4d_basetime.h"
#include "c4d_nodedata.h"
#include "c4d_tools.h"

namespace cinema {

// A module's effect as an entry of the render settings.
class QM_HOST_API BaseVideoPost : public BaseList2D {
 private:
  explicit BaseVideoPost(Parts* parts);
  ~BaseVideoPost();
  template <class T>
  friend struct HostSide;
};

// The levels of a render, outermost first. Each is opened and closed in pairs.
enum class VIDEOPOSTCALL { FRAMESEQUENCE = 1, FRAME = 2, SUBFRAME = 3, RENDER = 4, INNER = 5, TILE = 6 };

enum class VIDEOPOSTINFO { NONE = 0, STOREFRAGMENTS = 1, EXECUTELINE = 16, EXECUTEPIXEL = 32 };
template <>
struct FlagEnum<VIDEOPOSTINFO> {
  using Yes = void;
};

// What the host tells with a render call. Everything belongs to the host and lives until the call returns.
struct BaseVideoPostStruct {
  Int32 version = 0;
  VIDEOPOSTCALL vp = VIDEOPOSTCALL(0);  // none of them, until the host says which
  Bool open = false;
  BaseTime time;
  Int32 fps = 30;
  RENDERRESULT* error = nullptr;  // may be null
  VolumeData* vd = nullptr;       // not to be used in the closing RENDER call
  BaseDocument* doc = nullptr;
  BaseThread* thread = nullptr;
  Int32 subframe = 0;
  Int32 subframe_cnt = 1;
  Int32 field = 0;
  Int32 field_cnt = 1;
  Render* render = nullptr;
  RENDERFLAGS renderflags = RENDERFLAGS::NONE;
  Bool linear_workflow = false;
  COLORSPACETRANSFORMATION colorspacetransformation = COLORSPACETRANSFORMATION::NONE;
  NetRenderDocumentContext* net = nullptr;
  Bool net_server = false;
};

struct VideoPostStruct : public BaseVideoPostStruct {
 private:
  VideoPostStruct() = default;
  VideoPostStruct(const VideoPostStruct&) = default;
  ~VideoPostStruct() = default;
  template <class T>
  friend struct HostSide;
};

// An effect. The order of the virtual operations is fixed as in NodeData.
class QM_HOST_API VideoPostData : public NodeData {
 public:
  VideoPostData();
  ~VideoPostData() override;

 private:
  virtual void SlotDraw();
  virtual void SlotAllocateBuffers();

 public:
  virtual VIDEOPOSTINFO GetRenderInfo(BaseVideoPost* node);                 // the base says NONE
  virtual RENDERRESULT Execute(BaseVideoPost* node, VideoPostStruct* vps);  // the base says OK

 private:
  virtual void SlotExecuteLine();
  virtual void SlotExecutePixel();
  virtual void SlotCalcVolumetric();
  virtual void SlotCalcShadow();
  virtual void SlotGlDrawDummy();
  virtual void SlotGetGlInfoDummy();
  virtual void SlotComputeDiffuseGI();
  virtual void SlotComputeDiffuseCaustic();
  virtual void SlotComputeVolumeCaustic();
  virtual void SlotCreateRay();
  virtual void SlotCreateExtendedRay();
  virtual void SlotStereo1();
  virtual void SlotStereo2();
  virtual void SlotStereo3();
  virtual void SlotStereo4();
  virtual void SlotStereo5();

 public:
  // Whether the effect is offered with render engine, or in settings tab, `id`. The base says true.
  virtual Bool RenderEngineCheck(const BaseVideoPost* node, Int32 id) const;

 private:
  virtual void SlotSetDiffuseWeight();
  virtual void SlotNet1();
  virtual void SlotNet2();
  virtual void SlotNet3();
  virtual void SlotNet4();
  virtual void SlotGetMotionInfo();
  virtual void SlotGetColorProfileInfo();
};

#define PLUGINFLAG_VIDEOPOST_MULTIPLE (1 << 0)
#define PLUGINFLAG_VIDEOPOST_INHERENT (1 << 1)
#define PLUGINFLAG_VIDEOPOST_ISRENDERER (1 << 3)
#define PLUGINFLAG_VIDEOPOST_STEREO_EDITOR (1 << 4)
#define PLUGINFLAG_VIDEOPOST_STEREO_RENDERING (1 << 5)
#define PLUGINFLAG_VIDEOPOST_ISRENDERER_NET (1 << 6)
#define PLUGINFLAG_VIDEOPOST_MULTIPASS (1 << 7)
#define PLUGINFLAG_VIDEOPOST_STATIC (1 << 8)
#define PLUGINFLAG_VIDEOPOST_OFFBYDEFAULT (1 << 9)
#define PLUGINFLAG_VIDEOPOST_SETTINGMODE (1 << 10)
#define PLUGINFLAG_VIDEOPOST_HIDE (1 << 11)

// Registers the effect that `g` makes, and before it its description unless that is empty. False, with nothing
// registered, when the description can't be. Compiled into the module.
Bool RegisterVideoPostPlugin(Int32 id, const maxon::String& str, Int32 info, DataAllocator* g,
                             const maxon::String& description, Int32 disklevel, Int32 priority);

}  // namespace cinema
