#pragma once

#include "c4d_baselink.h"
#include "c4d_gedata.h"

namespace cinema {

// Values by ID, in the order in which the IDs were first set. Setting an ID that is there replaces its value in place.
// A getter returns its preset when the ID is absent or holds a kind that doesn't convert (GeData tells which do).
class QM_HOST_API BaseContainer {
 public:
  BaseContainer();
  explicit BaseContainer(Int32 id);
  BaseContainer(const BaseContainer& other);
  BaseContainer(BaseContainer&& other) noexcept;
  ~BaseContainer();
  const BaseContainer& operator=(const BaseContainer& other);
  const BaseContainer& operator=(BaseContainer&& other) noexcept;
  Bool operator==(const BaseContainer& other) const;  // same ID, and same entries in the same order
  Bool operator!=(const BaseContainer& other) const;

  Int32 GetId() const;
  Bool IsPopulated() const;
  Bool IsEmpty() const;

  Bool GetBool(Int32 id, Bool preset = false) const;
  void SetBool(Int32 id, Bool b);
  Int32 GetInt32(Int32 id, Int32 preset = 0) const;
  void SetInt32(Int32 id, Int32 l);
  Float GetFloat(Int32 id, Float preset = 0.0) const;
  void SetFloat(Int32 id, Float r);
  String GetString(Int32 id, const maxon::String& preset = maxon::String()) const;
  void SetString(Int32 id, const maxon::String& s);
  Filename GetFilename(Int32 id, const Filename& preset = Filename()) const;
  void SetFilename(Int32 id, const Filename& f);

  BaseContainer GetContainer(Int32 id) const;
  const BaseContainer* GetContainerInstance(Int32 id) const;  // null when absent; lives until this container changes
  void SetContainer(Int32 id, const BaseContainer& s);

  BaseList2D* GetLink(Int32 id, BaseDocument* doc, Int32 instanceof = 0) const;
  const BaseList2D* GetLink(Int32 id, const BaseDocument* doc, Int32 instanceof = 0) const;
  BaseList2D* GetLink(Int32 id, decltype(nullptr), Int32 instanceof = 0) const;
  void SetLink(Int32 id, const C4DAtomGoal* link);

  const GeData& GetData(Int32 id) const;  // DA_NIL when absent
  Bool SetData(Int32 id, const GeData& n);
  Int32 GetType(Int32 id) const;        // a DA_ type
  Int32 GetIndexId(Int32 index) const;  // NOTOK beyond the last

 private:
  struct Parts;
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
