#include "c4d_nodedata.h"

namespace cinema {

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

}  // namespace cinema
