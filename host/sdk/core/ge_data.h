#pragma once

#include <memory>
#include <optional>
#include <variant>

#include "core/atom.h"

namespace cinema {

struct GeData::Parts {
  std::variant<Int32, Float, Int64, String, Filename, BaseContainer, HostSide<BaseLink>> value;
};

// How a value reads as another kind. This is the one place that decides which kinds convert: Bool and Int32 stand for
// each other, Int32 and Float convert, and everything else is absent.
template <>
struct HostSide<GeData> {
  static std::optional<Bool> asBool(const GeData& data);
  static std::optional<Int32> asInt32(const GeData& data);
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
