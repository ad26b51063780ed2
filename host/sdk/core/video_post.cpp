#include "c4d_videopostdata.h"

namespace cinema {

VideoPostData::VideoPostData() = default;
VideoPostData::~VideoPostData() = default;

VIDEOPOSTINFO VideoPostData::GetRenderInfo(BaseVideoPost*) {
  return VIDEOPOSTINFO::NONE;
}
RENDERRESULT VideoPostData::Execute(BaseVideoPost*, VideoPostStruct*) {
  return RENDERRESULT::OK;
}
Bool VideoPostData::RenderEngineCheck(const BaseVideoPost*, Int32) const {
  return true;
}

void VideoPostData::SlotDraw() {}
void VideoPostData::SlotAllocateBuffers() {}
void VideoPostData::SlotExecuteLine() {}
void VideoPostData::SlotExecutePixel() {}
void VideoPostData::SlotCalcVolumetric() {}
void VideoPostData::SlotCalcShadow() {}
void VideoPostData::SlotGlDrawDummy() {}
void VideoPostData::SlotGetGlInfoDummy() {}
void VideoPostData::SlotComputeDiffuseGI() {}
void VideoPostData::SlotComputeDiffuseCaustic() {}
void VideoPostData::SlotComputeVolumeCaustic() {}
void VideoPostData::SlotCreateRay() {}
void VideoPostData::SlotCreateExtendedRay() {}
void VideoPostData::SlotStereo1() {}
void VideoPostData::SlotStereo2() {}
void VideoPostData::SlotStereo3() {}
void VideoPostData::SlotStereo4() {}
void VideoPostData::SlotStereo5() {}
void VideoPostData::SlotSetDiffuseWeight() {}
void VideoPostData::SlotNet1() {}
void VideoPostData::SlotNet2() {}
void VideoPostData::SlotNet3() {}
void VideoPostData::SlotNet4() {}
void VideoPostData::SlotGetMotionInfo() {}
void VideoPostData::SlotGetColorProfileInfo() {}

}  // namespace cinema
