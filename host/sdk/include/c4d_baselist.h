#pragma once

#include "c4d_basecontainer.h"

namespace cinema {

// Everything that lives in a document. Modules are handed these by the host, which owns them.
class QM_HOST_API C4DAtom {
 public:
  Int32 GetType() const;
  Bool IsInstanceOf(Int32 id) const;  // of this type or of one derived from it
  Bool GetParameter(const DescID& id, GeData& t_data, DESCFLAGS_GET flags) const;
  Bool SetParameter(const DescID& id, const GeData& t_data, DESCFLAGS_SET flags);

  C4DAtom(const C4DAtom&) = delete;
  C4DAtom& operator=(const C4DAtom&) = delete;

 protected:
  struct Parts;
  explicit C4DAtom(Parts* parts);  // takes it over
  ~C4DAtom();

 private:
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

// What a link can lead to.
class QM_HOST_API C4DAtomGoal : public C4DAtom {
 protected:
  explicit C4DAtomGoal(Parts* parts);
  ~C4DAtomGoal();
};

class QM_HOST_API GeListNode : public C4DAtomGoal {
 public:
  const BaseDocument* GetDocument() const;  // null for what stands in no document
  BaseDocument* GetDocument();

 protected:
  explicit GeListNode(Parts* parts);
  ~GeListNode();
};

class QM_HOST_API BaseList2D : public GeListNode {
 public:
  const BaseContainer* GetDataInstance() const;
  BaseContainer* GetDataInstance();
  const BaseContainer& GetDataInstanceRef() const;
  BaseContainer& GetDataInstanceRef();
  String GetName() const;

 protected:
  explicit BaseList2D(Parts* parts);
  ~BaseList2D();
};

}  // namespace cinema
