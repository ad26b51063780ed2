#include "module/description_loader.h"

#include <algorithm>

#include "core/text.h"
#include "vpbase.h"

namespace quillmere::host {

using namespace cinema;
using resource::DescriptionFiles;
using resource::Group;
using resource::Token;

namespace {

constexpr size_t kMostEntries = 10000;  // each is looked up among all

class Loader {
 public:
  Loader(const DescriptionFiles& files, const Registry& registry)
      : files_(files), registry_(registry), symbols_(files.symbols) {}

  std::vector<DescriptionEntry> load() {
    for (const Token& include : files_.resource.includes) {
      const RegisteredDescription* base = registry_.description(include.text);
      if (!base) refuse(include, "no description of this name is registered");
      entries_.insert(entries_.end(), base->entries.begin(), base->entries.end());
      symbols_.insert(base->symbols.begin(), base->symbols.end());
    }
    for (const Group& group : files_.resource.groups) add(group, DescID());
    if (!has(DescID::Create(DescLevel(ID_VIDEOPOSTPROPERTIES, DTYPE_GROUP, 0)))) {
      throw resource::damage(files_.file, std::nullopt,
                             std::string("has no group ") + kBaseGroupName +
                                 ", which every effect's has; write INCLUDE " + kBaseDescriptionName + "; into it");
    }
    return std::move(entries_);
  }

 private:
  [[noreturn]] void refuse(const Token& where, const std::string& reason) const {
    throw resource::damage(files_.file, where.line, quoted(where) + ": " + reason);
  }

  Int32 idOf(const Token& symbol) const {
    const auto known = symbols_.find(symbol.text);
    if (known != symbols_.end()) return known->second;
    if (symbol.isWord(kBaseGroupName)) {
      refuse(symbol, std::string("a group of ") + kBaseDescriptionName + ", which isn't included; write INCLUDE " +
                         kBaseDescriptionName + "; above it");
    }
    refuse(symbol, "the header of IDs doesn't name it");
  }

  bool has(const DescID& id) const {
    return std::any_of(entries_.begin(), entries_.end(), [&](const DescriptionEntry& one) { return one.id == id; });
  }

  // A group that an included description brought is the same group.
  void add(const Group& group, const DescID& holder) {
    const DescID id = DescID::Create(DescLevel(idOf(group.symbol), DTYPE_GROUP, 0));
    if (entries_.size() >= kMostEntries) refuse(group.symbol, "a description has at most 10000 parameters");
    if (!has(id)) entries_.push_back({id, propertiesOf(group.symbol), holder});
    for (const Group& member : group.members) add(member, id);
  }

  BaseContainer propertiesOf(const Token& symbol) const {
    BaseContainer properties = GetCustomDataTypeDefault(DTYPE_GROUP);
    const auto label = files_.labels.find(symbol.text);
    properties.SetString(DESC_NAME, fromUtf8(label == files_.labels.end() ? symbol.text : label->second));
    return properties;
  }

  const DescriptionFiles& files_;
  const Registry& registry_;
  resource::Symbols symbols_;  // of the header of IDs, and of the descriptions that are included
  std::vector<DescriptionEntry> entries_;
};

}  // namespace

std::vector<DescriptionEntry> loadDescription(const DescriptionFiles& files, const Registry& registry) {
  return Loader(files, registry).load();
}

}  // namespace quillmere::host
