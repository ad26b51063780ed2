#include "c4d_basecontainer.h"

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

#include "c4d_baseobject.h"
#include "core/ge_data.h"

namespace cinema {

namespace {

using Data = HostSide<GeData>;

struct Entry {
  Int32 id;
  GeData data;
  bool operator==(const Entry& other) const { return id == other.id && data == other.data; }
};

}  // namespace

// Null parts stand for an empty container with the ID 0.
struct BaseContainer::Parts {
  Int32 id = 0;
  std::vector<Entry> entries;
  std::unordered_map<Int32, size_t> places;

  const GeData* find(Int32 key) const {
    const auto place = places.find(key);
    return place == places.end() ? nullptr : &entries[place->second].data;
  }

  void set(Int32 key, GeData data) {
    const auto [place, added] = places.try_emplace(key, entries.size());
    if (added) {
      entries.push_back({key, std::move(data)});
    } else {
      entries[place->second].data = std::move(data);
    }
  }

  static Parts& writable(Parts*& parts) {
    if (!parts) parts = new Parts;
    return *parts;
  }
};

BaseContainer::BaseContainer() : parts_(nullptr) {}
BaseContainer::BaseContainer(Int32 id) : parts_(new Parts{id, {}, {}}) {}
BaseContainer::BaseContainer(const BaseContainer& other) : parts_(other.parts_ ? new Parts(*other.parts_) : nullptr) {}
BaseContainer::BaseContainer(BaseContainer&& other) noexcept : parts_(std::exchange(other.parts_, nullptr)) {}
BaseContainer::~BaseContainer() {
  delete parts_;
}

const BaseContainer& BaseContainer::operator=(const BaseContainer& other) {
  return *this = BaseContainer(other);
}

const BaseContainer& BaseContainer::operator=(BaseContainer&& other) noexcept {
  std::swap(parts_, other.parts_);
  return *this;
}

Bool BaseContainer::operator==(const BaseContainer& other) const {
  if (GetId() != other.GetId() || IsPopulated() != other.IsPopulated()) return false;
  return IsEmpty() || parts_->entries == other.parts_->entries;
}
Bool BaseContainer::operator!=(const BaseContainer& other) const {
  return !(*this == other);
}

Int32 BaseContainer::GetId() const {
  return parts_ ? parts_->id : 0;
}
Bool BaseContainer::IsPopulated() const {
  return parts_ && !parts_->entries.empty();
}
Bool BaseContainer::IsEmpty() const {
  return !IsPopulated();
}

Bool BaseContainer::GetBool(Int32 id, Bool preset) const {
  return Data::asBool(GetData(id)).value_or(preset);
}
void BaseContainer::SetBool(Int32 id, Bool b) {
  SetInt32(id, b ? 1 : 0);
}
Int32 BaseContainer::GetInt32(Int32 id, Int32 preset) const {
  return Data::asInt32(GetData(id)).value_or(preset);
}
void BaseContainer::SetInt32(Int32 id, Int32 l) {
  SetData(id, GeData(l));
}
Float BaseContainer::GetFloat(Int32 id, Float preset) const {
  return Data::asFloat(GetData(id)).value_or(preset);
}
void BaseContainer::SetFloat(Int32 id, Float r) {
  SetData(id, GeData(r));
}

String BaseContainer::GetString(Int32 id, const maxon::String& preset) const {
  const auto* text = Data::as<String>(GetData(id));
  return text ? *text : String(preset);
}
void BaseContainer::SetString(Int32 id, const maxon::String& s) {
  SetData(id, GeData(s));
}

Filename BaseContainer::GetFilename(Int32 id, const Filename& preset) const {
  const auto* name = Data::as<Filename>(GetData(id));
  return name ? *name : preset;
}
void BaseContainer::SetFilename(Int32 id, const Filename& f) {
  SetData(id, GeData(f));
}

BaseContainer BaseContainer::GetContainer(Int32 id) const {
  const BaseContainer* kept = GetContainerInstance(id);
  return kept ? *kept : BaseContainer();
}
const BaseContainer* BaseContainer::GetContainerInstance(Int32 id) const {
  return GetData(id).GetContainer();
}
void BaseContainer::SetContainer(Int32 id, const BaseContainer& s) {
  SetData(id, GeData(s));
}

BaseList2D* BaseContainer::GetLink(Int32 id, BaseDocument* doc, Int32 instanceof) const {
  return GetData(id).GetLink(doc, instanceof);
}
const BaseList2D* BaseContainer::GetLink(Int32 id, const BaseDocument* doc, Int32 instanceof) const {
  return GetData(id).GetLink(doc, instanceof);
}
BaseList2D* BaseContainer::GetLink(Int32 id, decltype(nullptr), Int32 instanceof) const {
  return GetData(id).GetLink(nullptr, instanceof);
}
void BaseContainer::SetLink(Int32 id, const C4DAtomGoal* link) {
  SetData(id, GeData(const_cast<BaseList2D*>(static_cast<const BaseList2D*>(link))));
}

const GeData& BaseContainer::GetData(Int32 id) const {
  static const GeData& absent = *new GeData();
  const GeData* found = parts_ ? parts_->find(id) : nullptr;
  return found ? *found : absent;
}

Bool BaseContainer::SetData(Int32 id, const GeData& n) {
  Parts::writable(parts_).set(id, n);
  return true;
}

Int32 BaseContainer::GetType(Int32 id) const {
  return GetData(id).GetType();
}

Int32 BaseContainer::GetIndexId(Int32 index) const {
  if (!parts_ || index < 0 || static_cast<size_t>(index) >= parts_->entries.size()) return NOTOK;
  return parts_->entries[static_cast<size_t>(index)].id;
}

}  // namespace cinema
