#pragma once

#include <memory>

#include "core/atom.h"

namespace cinema {

struct BaseLink::Parts {
  std::weak_ptr<LinkAnchor> anchor;
};

template <>
struct HostSide<BaseLink> {
  static BaseLink* copy(const BaseLink& link) { return new BaseLink(link); }
  static BaseLink* to(const C4DAtomGoal* target);
  static void end(BaseLink* link) { delete link; }
  static bool sameTarget(const BaseLink& a, const BaseLink& b);
};

}  // namespace cinema
