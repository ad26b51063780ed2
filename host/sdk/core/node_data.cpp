#include "c4d_nodedata.h"

#include <cstdlib>

#include "c4d_videopostdata.h"

namespace cinema {

void* AllocateMemoryClear(size_t bytes) {
  return std::calloc(1, bytes == 0 ? 1 : bytes);
}
void FreeMemory(void* block) {
  std::free(block);
}

BaseData::BaseData() = default;
BaseData::~BaseData() = default;
void BaseData::Destructor() {
  delete this;
}
void* BaseData::operator new(size_t bytes) noexcept {
  return AllocateMemoryClear(bytes);
}
void BaseData::operator delete(void* block) {
  FreeMemory(block);
}

NodeData::NodeData() = default;
NodeData::~NodeData() = default;
const GeListNode* NodeData::Get() const {
  return node_;
}
GeListNode* NodeData::Get() {
  return node_;
}

Bool NodeData::Init(GeListNode*, Bool) {
  return true;
}
Bool NodeData::GetDDescription(const GeListNode*, Description*, DESCFLAGS_DESC&) const {
  return false;
}
Bool NodeData::GetDParameter(const GeListNode*, const DescID&, GeData&, DESCFLAGS_GET&) const {
  return true;
}
Bool NodeData::SetDParameter(GeListNode*, const DescID&, const GeData&, DESCFLAGS_SET&) {
  return true;
}
Bool NodeData::GetDEnabling(const GeListNode*, const DescID&, const GeData&, DESCFLAGS_ENABLE,
                            const BaseContainer*) const {
  return true;
}

void NodeData::SlotFree() {}
void NodeData::SlotRead() {}
void NodeData::SlotWrite() {}
void NodeData::SlotCopyTo() {}
void NodeData::SlotMessage() {}
void NodeData::SlotGetBubbleHelp() {}
void NodeData::SlotGetDocument() {}
void NodeData::SlotGetBranchInfo() {}
void NodeData::SlotIsInstanceOf() {}
void NodeData::SlotTranslateDescID() {}
void NodeData::SlotIsDocumentRelated() {}
void NodeData::SlotGetAccessedObjects() {}
void NodeData::SlotGroupChanges() {}

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
