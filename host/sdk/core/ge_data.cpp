#include "core/ge_data.h"

#include <cmath>
#include <limits>
#include <utility>

namespace cinema {

namespace {

using Side = HostSide<GeData>;

Int32 cut(Float value) {
  using Limits = std::numeric_limits<Int32>;
  if (std::isnan(value)) return 0;
  if (value <= static_cast<Float>(Limits::min())) return Limits::min();
  if (value >= static_cast<Float>(Limits::max())) return Limits::max();
  return static_cast<Int32>(value);
}

// What a getter that hands out a reference names when the value is of another kind.
template <class Kind>
const Kind& nothing() {
  static const Kind& empty = *new Kind();
  return empty;
}

template <class Kind>
const Kind& orNothing(const GeData& data) {
  const Kind* kept = Side::as<Kind>(data);
  return kept ? *kept : nothing<Kind>();
}

}  // namespace

std::optional<Bool> Side::asBool(const GeData& data) {
  const auto* whole = as<Int32>(data);
  return whole ? std::optional(*whole != 0) : std::nullopt;
}

std::optional<Int32> Side::asInt32(const GeData& data) {
  if (const auto* whole = as<Int32>(data)) return *whole;
  if (const auto* real = as<Float>(data)) return cut(*real);
  return std::nullopt;
}

std::optional<Float> Side::asFloat(const GeData& data) {
  if (const auto* real = as<Float>(data)) return *real;
  if (const auto* whole = as<Int32>(data)) return *whole;
  return std::nullopt;
}

GeData::GeData() = default;
GeData::GeData(Int32 value) : parts_(new Parts{value}) {}
GeData::GeData(double value) : parts_(new Parts{value}) {}
GeData::GeData(Int64 value, LLONGVALUETYPE) : parts_(new Parts{value}) {}
GeData::GeData(const Char* utf8) : parts_(new Parts{String(utf8)}) {}
GeData::GeData(const maxon::String& text) : parts_(new Parts{String(text)}) {}
GeData::GeData(const Filename& name) : parts_(new Parts{name}) {}
GeData::GeData(const BaseContainer& container) : parts_(new Parts{container}) {}
GeData::GeData(BaseList2D* target) : parts_(new Parts{HostSide<BaseLink>(target)}) {}
GeData::GeData(const BaseLink* link)
    : parts_(new Parts{link ? HostSide<BaseLink>(*link) : HostSide<BaseLink>(nullptr)}) {}
GeData::GeData(const GeData& other) : parts_(other.parts_ ? new Parts(*other.parts_) : nullptr) {}
GeData::GeData(GeData&& other) noexcept : parts_(std::exchange(other.parts_, nullptr)) {}
GeData::~GeData() {
  delete parts_;
}

const GeData& GeData::operator=(const GeData& other) {
  return *this = GeData(other);
}

const GeData& GeData::operator=(GeData&& other) noexcept {
  std::swap(parts_, other.parts_);
  return *this;
}

Int32 GeData::GetType() const {
  // In the order of the kinds of Parts::value.
  constexpr Int32 kTypes[] = {DA_LONG, DA_REAL, DA_LLONG, DA_STRING, DA_FILENAME, DA_CONTAINER, DA_ALIASLINK};
  return parts_ ? kTypes[parts_->value.index()] : DA_NIL;
}

Bool GeData::GetBool() const {
  return Side::asBool(*this).value_or(false);
}
Int32 GeData::GetInt32() const {
  return Side::asInt32(*this).value_or(0);
}
Float GeData::GetFloat() const {
  return Side::asFloat(*this).value_or(0.0);
}
const String& GeData::GetString() const {
  return orNothing<String>(*this);
}
const Filename& GeData::GetFilename() const {
  return orNothing<Filename>(*this);
}
const BaseContainer* GeData::GetContainer() const {
  return Side::as<BaseContainer>(*this);
}

const BaseLink* GeData::GetBaseLink() const {
  const auto* value = Side::as<HostSide<BaseLink>>(*this);
  return value ? &value->link : nullptr;
}

BaseList2D* GeData::GetLink(BaseDocument* doc, Int32 instanceof) const {
  const BaseLink* link = GetBaseLink();
  return link ? link->GetLink(doc, instanceof) : nullptr;
}

const BaseList2D* GeData::GetLink(const BaseDocument* doc, Int32 instanceof) const {
  const BaseLink* link = GetBaseLink();
  return link ? link->GetLink(doc, instanceof) : nullptr;
}

BaseList2D* GeData::GetLink(decltype(nullptr), Int32 instanceof) const {
  const BaseLink* link = GetBaseLink();
  return link ? link->GetLink(nullptr, instanceof) : nullptr;
}

Bool GeData::operator==(const GeData& other) const {
  return parts_ && other.parts_ ? parts_->value == other.parts_->value : parts_ == other.parts_;
}
Bool GeData::operator!=(const GeData& other) const {
  return !(*this == other);
}

}  // namespace cinema
