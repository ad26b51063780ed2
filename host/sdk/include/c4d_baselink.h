#pragma once

#include "ge_prepass.h"

namespace cinema {

// A reference to an object that may go away before it; it then leads nowhere.
class QM_HOST_API BaseLink {
 public:
  static BaseLink* Alloc();
  static void Free(BaseLink*& link);

  void SetLink(const C4DAtomGoal* target);
  // As GeData::GetLink.
  BaseList2D* GetLink(BaseDocument* doc, Int32 instanceof = 0) const;
  const BaseList2D* GetLink(const BaseDocument* doc, Int32 instanceof = 0) const;
  BaseList2D* GetLink(decltype(nullptr), Int32 instanceof = 0) const;

 private:
  BaseLink();
  BaseLink(const BaseLink& other);
  BaseLink& operator=(const BaseLink& other) = delete;
  ~BaseLink();
  struct Parts;
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
