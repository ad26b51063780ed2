#pragma once

#include <memory>
#include <optional>
#include <variant>

#include "core/atom.h"

namespace cinema {

// A link as a value that can be copied.
class LinkValue {
 public:
  explicit LinkValue(BaseLink* taken) : link_(taken) {}
  LinkValue(const LinkValue& other) : LinkValue(HostSide<BaseLink>::copy(*other.link_)) {}
  LinkValue& operator=(const LinkValue& other) = delete;
  LinkValue& operator=(LinkValue&&) = delete;
  ~LinkValue() { HostSide<BaseLink>::end(link_); }

  const BaseLink& link() const { return *link_; }
  bool operator==(const LinkValue& other) const { return HostSide<BaseLink>::sameTarget(*link_, *other.link_); }

 private:
  BaseLink* link_;
};

struct GeData::Parts {
  std::variant<Int32, Float, Int64, String, Filename, BaseContainer, BaseTime, LinkValue> value;
};

// How a value reads as another kind. This is the one place that decides which kinds convert: Bool and Int32 stand for
// each other, Int32 and Float convert, and everything else is absent.
template <>
struct HostSide<GeData> {
  static std::optional<Bool> asBool(const GeData& data);
  static std::optional<Int32> asInt32(const GeData& data);
  static std::optional<Int64> asInt64(const GeData& data);
  static std::optional<Float> asFloat(const GeData& data);

  // Null when the value is of another kind.
  template <class Kind>
  static const Kind* as(const GeData& data) {
    return data.parts_ ? std::get_if<Kind>(&data.parts_->value) : nullptr;
  }
  template <class Kind>
  static Kind* as(GeData& data) {
    return data.parts_ ? std::get_if<Kind>(&data.parts_->value) : nullptr;
  }
};

}  // namespace cinema
