#include "core/atom.h"

#include <algorithm>
#include <utility>

namespace cinema {

C4DAtom::Parts::Parts(Int32 type, std::vector<Int32> kinds) : type(type), kinds(std::move(kinds)) {}
C4DAtom::Parts::~Parts() = default;

Bool C4DAtom::Parts::get(const C4DAtom& atom, const DescID& id, GeData& value) const {
  if (!id.IsPopulated()) return false;
  if (data) {
    DESCFLAGS_GET flags = DESCFLAGS_GET::NONE;
    if (!data->GetDParameter(static_cast<const GeListNode*>(&atom), id, value, flags)) return false;
    if ((flags & DESCFLAGS_GET::PARAM_GET) == DESCFLAGS_GET::PARAM_GET) return true;
  }
  value = container.GetData(id[0].id);
  return value.GetType() != DA_NIL;
}

Bool C4DAtom::Parts::set(C4DAtom& atom, const DescID& id, const GeData& value) {
  if (!id.IsPopulated()) return false;
  if (data) {
    DESCFLAGS_SET flags = DESCFLAGS_SET::NONE;
    if (!data->SetDParameter(static_cast<GeListNode*>(&atom), id, value, flags)) return false;
    if ((flags & DESCFLAGS_SET::PARAM_SET) == DESCFLAGS_SET::PARAM_SET) return true;
  }
  return container.SetData(id[0].id, value);
}

C4DAtom::C4DAtom(Parts* parts) : parts_(parts) {
  parts_->anchor->atom = this;
  if (parts_->data) HostSide<NodeData>::setNode(*parts_->data, static_cast<GeListNode*>(this));
}

C4DAtom::~C4DAtom() {
  parts_->anchor->atom = nullptr;
  delete parts_;
}

Int32 C4DAtom::GetType() const {
  return parts_->type;
}

Bool C4DAtom::IsInstanceOf(Int32 id) const {
  return id == parts_->type || std::find(parts_->kinds.begin(), parts_->kinds.end(), id) != parts_->kinds.end();
}

Bool C4DAtom::GetParameter(const DescID& id, GeData& t_data, DESCFLAGS_GET) const {
  return parts_->get(*this, id, t_data);
}

Bool C4DAtom::SetParameter(const DescID& id, const GeData& t_data, DESCFLAGS_SET) {
  return parts_->set(*this, id, t_data);
}

C4DAtomGoal::C4DAtomGoal(Parts* parts) : C4DAtom(parts) {}
C4DAtomGoal::~C4DAtomGoal() = default;

GeListNode::GeListNode(Parts* parts) : C4DAtomGoal(parts) {}
GeListNode::~GeListNode() = default;
const BaseDocument* GeListNode::GetDocument() const {
  return HostSide<C4DAtom>::parts(*this).document;
}
BaseDocument* GeListNode::GetDocument() {
  return HostSide<C4DAtom>::parts(*this).document;
}

BaseList2D::BaseList2D(Parts* parts) : GeListNode(parts) {}
BaseList2D::~BaseList2D() = default;
const BaseContainer* BaseList2D::GetDataInstance() const {
  return &HostSide<C4DAtom>::parts(*this).container;
}
BaseContainer* BaseList2D::GetDataInstance() {
  return &HostSide<C4DAtom>::parts(*this).container;
}
const BaseContainer& BaseList2D::GetDataInstanceRef() const {
  return *GetDataInstance();
}
BaseContainer& BaseList2D::GetDataInstanceRef() {
  return *GetDataInstance();
}
String BaseList2D::GetName() const {
  return HostSide<C4DAtom>::parts(*this).name;
}

BaseObject::BaseObject(Parts* parts) : BaseList2D(parts) {}
BaseObject::~BaseObject() = default;
RenderData::RenderData(Parts* parts) : BaseList2D(parts) {}
RenderData::~RenderData() = default;
BaseDraw::BaseDraw(Parts* parts) : BaseList2D(parts) {}
BaseDraw::~BaseDraw() = default;
BaseDocument::BaseDocument(Parts* parts) : BaseList2D(parts) {}
BaseDocument::~BaseDocument() = default;
BaseVideoPost::BaseVideoPost(Parts* parts) : BaseList2D(parts) {}
BaseVideoPost::~BaseVideoPost() = default;

BaseLink::BaseLink() : parts_(new Parts) {}
BaseLink::BaseLink(const BaseLink& other) : parts_(new Parts(*other.parts_)) {}
BaseLink::~BaseLink() {
  delete parts_;
}

BaseLink* BaseLink::Alloc() {
  return new BaseLink;
}

void BaseLink::Free(BaseLink*& link) {
  delete link;
  link = nullptr;
}

void BaseLink::SetLink(const C4DAtomGoal* target) {
  parts_->anchor.reset();
  if (target) parts_->anchor = HostSide<C4DAtom>::parts(*target).anchor;
}

BaseList2D* BaseLink::GetLink(decltype(nullptr), Int32 instanceof) const {
  const std::shared_ptr<LinkAnchor> anchor = parts_->anchor.lock();
  if (!anchor || !anchor->atom) return nullptr;
  if (instanceof != 0 && !anchor->atom->IsInstanceOf(instanceof)) return nullptr;
  return static_cast<BaseList2D*>(anchor->atom);
}

BaseList2D* BaseLink::GetLink(BaseDocument* doc, Int32 instanceof) const {
  BaseList2D* target = GetLink(nullptr, instanceof);
  return target && (!doc || target->GetDocument() == doc) ? target : nullptr;
}

const BaseList2D* BaseLink::GetLink(const BaseDocument* doc, Int32 instanceof) const {
  return GetLink(const_cast<BaseDocument*>(doc), instanceof);
}

}  // namespace cinema
