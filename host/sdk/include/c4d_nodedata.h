#pragma once

#include "c4d_baselist.h"
#include "c4d_memory.h"
#include "lib_description.h"

namespace cinema {

// The root of what a module implements. Objects live in the host's memory, whichever side makes or ends them.
class QM_HOST_API BaseData {
 public:
  BaseData();
  BaseData(const BaseData&) = delete;
  BaseData& operator=(const BaseData&) = delete;
  virtual ~BaseData();

  void Destructor();  // ends the object and frees it

  static void* operator new(size_t bytes) noexcept;  // null when there is no memory left
  static void operator delete(void* block);
};

// A module's side of a node: the host makes one for each node and asks it. The order of the virtual operations is the
// order in the table through which the host calls; those named Slot... hold the place of operations that this host
// never calls.
class QM_HOST_API NodeData : public BaseData {
 public:
  NodeData();
  ~NodeData() override;

  const GeListNode* Get() const;  // the node; null in the constructor
  GeListNode* Get();

  // False: the node is given up. `isCloneInit` tells that the node is about to receive copied values.
  virtual Bool Init(GeListNode* node, Bool isCloneInit);

 private:
  virtual void SlotFree();
  virtual void SlotRead();
  virtual void SlotWrite();
  virtual void SlotCopyTo();
  virtual void SlotMessage();
  virtual void SlotGetBubbleHelp();
  virtual void SlotGetDocument();
  virtual void SlotGetBranchInfo();
  virtual void SlotIsInstanceOf();

 public:
  // Sets LOADED in `flags` when `description` was filled. The base says false.
  virtual Bool GetDDescription(const GeListNode* node, Description* description, DESCFLAGS_DESC& flags) const;
  // Sets PARAM_GET when `t_data` was filled; else the host reads the node's container. The base says true.
  virtual Bool GetDParameter(const GeListNode* node, const DescID& id, GeData& t_data, DESCFLAGS_GET& flags) const;
  // Sets PARAM_SET when the value was taken; else the host writes it into the node's container. The base says true.
  virtual Bool SetDParameter(GeListNode* node, const DescID& id, const GeData& t_data, DESCFLAGS_SET& flags);
  // False: the parameter is greyed out. The base says true.
  virtual Bool GetDEnabling(const GeListNode* node, const DescID& id, const GeData& t_data, DESCFLAGS_ENABLE flags,
                            const BaseContainer* itemdesc) const;

 private:
  virtual void SlotTranslateDescID();
  virtual void SlotIsDocumentRelated();
  virtual void SlotGetAccessedObjects();
  virtual void SlotGroupChanges();

  GeListNode* node_ = nullptr;
  template <class T>
  friend struct HostSide;
};

typedef NodeData* DataAllocator();

}  // namespace cinema

// Names the base class of a module's class SUPER.
#define INSTANCEOF(X, Y) \
 public:                 \
  typedef Y SUPER;       \
                         \
 private:
