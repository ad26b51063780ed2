#pragma once

#include <memory>
#include <type_traits>
#include <vector>

#include "c4d.h"

namespace cinema {

// What the links to an object share: they stay when it goes.
struct LinkAnchor {
  C4DAtom* atom = nullptr;  // null once the object is gone
};

struct BaseLink::Parts {
  std::weak_ptr<LinkAnchor> anchor;
};

// A link as a value that can be copied; links to the same object are equal.
template <>
struct HostSide<BaseLink> {
  explicit HostSide(const C4DAtomGoal* target) { link.SetLink(target); }
  explicit HostSide(const BaseLink& other) : link(other) {}
  bool operator==(const HostSide& other) const { return link.GetLink(nullptr) == other.link.GetLink(nullptr); }

  BaseLink link;
};

// Ends a module's object in the module.
struct EndNodeData {
  void operator()(NodeData* data) const { data->Destructor(); }
};

// The host's side of every object of a document; kinds of objects that keep more derive from it.
struct C4DAtom::Parts {
  // `kinds`: the types besides `type` of which the object is an instance; Obase among them for a BaseObject.
  explicit Parts(Int32 type, std::vector<Int32> kinds = {});
  virtual ~Parts();
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  // A parameter by the object's own rules. The base asks the module's object, if there is one, and turns to the
  // container when that leaves it to the host. False when there is no such value.
  virtual Bool get(const C4DAtom& atom, const DescID& id, GeData& value) const;
  virtual Bool set(C4DAtom& atom, const DescID& id, const GeData& value);

  const Int32 type;
  const std::vector<Int32> kinds;
  BaseContainer container;
  String name;
  BaseDocument* document = nullptr;             // the one it stands in; links resolve only within it
  std::unique_ptr<NodeData, EndNodeData> data;  // null for the host's own objects
  const std::shared_ptr<LinkAnchor> anchor = std::make_shared<LinkAnchor>();
};

template <>
struct HostSide<C4DAtom> {
  using Parts = C4DAtom::Parts;
  static Parts& parts(const C4DAtom& atom) { return *atom.parts_; }
};
using AtomParts = HostSide<C4DAtom>::Parts;

// Makes and ends objects of a document (BaseObject, BaseDocument, BaseDraw, RenderData, BaseVideoPost). Classes that
// are no such objects have specialisations of their own.
template <class Atom>
struct HostSide {
  static_assert(std::is_base_of_v<BaseList2D, Atom>);
  struct End {
    void operator()(Atom* atom) const { HostSide::end(atom); }
  };
  using Owner = std::unique_ptr<Atom, End>;

  static Owner make(std::unique_ptr<AtomParts> parts) { return Owner(new Atom(parts.release())); }
  static void end(Atom* atom) { delete atom; }
};

template <>
struct HostSide<NodeData> {
  static void setNode(NodeData& data, GeListNode* node) { data.node_ = node; }
};

}  // namespace cinema
