#include "core/alias_link.h"

namespace cinema {

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

BaseLink* HostSide<BaseLink>::to(const C4DAtomGoal* target) {
  BaseLink* link = BaseLink::Alloc();
  link->SetLink(target);
  return link;
}

bool HostSide<BaseLink>::sameTarget(const BaseLink& a, const BaseLink& b) {
  return a.GetLink(nullptr) == b.GetLink(nullptr);
}

}  // namespace cinema
