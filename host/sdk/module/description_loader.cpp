#include "module/description_loader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <locale>
#include <sstream>
#include <string_view>

#include "core/text.h"
#include "customgui_linkbox.h"
#include "vpbase.h"

namespace quillmere::host {

using namespace cinema;
using resource::Damage;
using resource::DescriptionFiles;
using resource::Element;
using resource::Property;
using resource::Token;

namespace {

struct Named {
  std::string_view word;
  Int32 id;
};

constexpr std::array kTypes = {
    Named{"GROUP", DTYPE_GROUP},   Named{"BOOL", DTYPE_BOOL},         Named{"LONG", DTYPE_LONG},
    Named{"REAL", DTYPE_REAL},     Named{"STRING", DTYPE_STRING},     Named{"FILENAME", DTYPE_FILENAME},
    Named{"BUTTON", DTYPE_BUTTON}, Named{"LINK", DTYPE_BASELISTLINK}, Named{"STATICTEXT", DTYPE_STATICTEXT},
};
constexpr std::array kValues = {
    Named{"DEFAULT", DESC_DEFAULT},
    Named{"MIN", DESC_MIN},
    Named{"MAX", DESC_MAX},
    Named{"STEP", DESC_STEP},
};
constexpr std::array kWords = {
    Named{"OFF", DESC_ANIMATE_OFF},
    Named{"ON", DESC_ANIMATE_ON},
    Named{"MIX", DESC_ANIMATE_MIX},
};
constexpr std::array kGuis = {
    Named{"CYCLE", CUSTOMGUI_CYCLE},
    Named{"MULTISTRING", CUSTOMGUI_STRINGMULTI},
    Named{"LINKBOX", CUSTOMGUI_LINKBOX},
};
// How a group looks, which a panel of text leaves to itself.
constexpr std::array<std::string_view, 4> kLooks = {"COLUMNS", "LAYOUTGROUP", "SCALE_H", "SCALE_V"};

constexpr size_t kMostEntries = 10000;  // each is looked up among all

template <size_t N>
const Named* find(const std::array<Named, N>& table, const std::string& word) {
  const auto found = std::find_if(table.begin(), table.end(), [&](const Named& one) { return one.word == word; });
  return found == table.end() ? nullptr : &*found;
}

class Loader {
 public:
  Loader(const DescriptionFiles& files, const Registry& registry) : files_(files), registry_(registry) {}

  std::vector<DescriptionEntry> load() {
    for (const Token& include : files_.resource.includes) {
      const RegisteredDescription* base = registry_.description(include.text);
      if (!base) damaged(include, "no description of this name is registered");
      entries_.insert(entries_.end(), base->entries.begin(), base->entries.end());
    }
    for (const Property& property : files_.resource.content.properties) refuse(property);
    for (const Element& member : files_.resource.content.members) add(member, DescID());
    return std::move(entries_);
  }

 private:
  [[noreturn]] void damaged(const Token& where, const std::string& reason) const {
    throw Damage(files_.file, where.line, "'" + where.text.substr(0, 40) + "': " + reason);
  }
  [[noreturn]] void refuse(const Property& property) const {
    damaged(property.name, "this host does not model this property here");
  }

  Int32 symbol(const Token& token) const {
    if (token.is(Token::Kind::Number)) return wholeNumberOf(token);
    if (token.text == "ID_VIDEOPOSTPROPERTIES") return ID_VIDEOPOSTPROPERTIES;
    const auto known = files_.symbols.find(token.text);
    if (!token.is(Token::Kind::Word) || known == files_.symbols.end())
      damaged(token, "the header of IDs doesn't name it");
    return known->second;
  }

  // A group that an included description brought is the same group.
  void add(const Element& element, const DescID& group) {
    const Named* type = find(kTypes, element.type.text);
    if (!type) damaged(element.type, "this host does not model parameters of this type");
    if (!element.symbol.is(Token::Kind::Word)) damaged(element.type, "it needs an ID");
    const DescID id = DescID::Create(DescLevel(symbol(element.symbol), type->id, 0));
    const bool isGroup = type->id == DTYPE_GROUP;
    if (!isGroup && !element.members.empty()) damaged(element.type, "only a GROUP has members");
    const auto present =
        std::find_if(entries_.begin(), entries_.end(), [&](const DescriptionEntry& one) { return one.id == id; });
    if (entries_.size() >= kMostEntries) damaged(element.symbol, "a description has at most 10000 parameters");
    if (present == entries_.end()) {
      entries_.push_back({id, properties(element, type->id), group});
    } else if (!isGroup) {
      damaged(element.symbol, "another parameter has this ID");
    }
    for (const Element& member : element.members) add(member, id);
  }

  BaseContainer properties(const Element& element, Int32 type) const {
    BaseContainer made = GetCustomDataTypeDefault(type);
    const auto label = files_.labels.find(element.symbol.text);
    made.SetString(DESC_NAME, fromUtf8(label == files_.labels.end() ? element.symbol.text : label->second));
    for (const Property& property : element.properties) set(made, property, type);
    return made;
  }

  void set(BaseContainer& made, const Property& property, Int32 type) const {
    const std::string& name = property.name.text;
    if (name == "CYCLE") {
      setCycle(made, property);
    } else if (name == "ACCEPT" || name == "REFUSE") {
      BaseContainer types;
      for (const Token& one : property.values) types.SetInt32(acceptedType(one), 1);
      made.SetContainer(name == "ACCEPT" ? DESC_ACCEPT : DESC_REFUSE, types);
    } else if (name == "HIDDEN" && property.values.empty()) {
      made.SetBool(DESC_HIDE, true);
    } else if (property.values.size() == 1) {
      setOne(made, property, type);
    } else if (!looks(property, type)) {
      refuse(property);
    }
  }

  void setOne(BaseContainer& made, const Property& property, Int32 type) const {
    const Token& value = property.values[0];
    if (const Named* key = find(kValues, property.name.text); key && type != DTYPE_GROUP) {
      made.SetData(key->id, valueOf(value, type));
    } else if (const Named* mode = find(kWords, value.text); mode && property.name.text == "ANIM") {
      made.SetInt32(DESC_ANIMATE, mode->id);
    } else if (const Named* gui = find(kGuis, value.text); gui && property.name.text == "CUSTOMGUI") {
      made.SetInt32(DESC_CUSTOMGUI, gui->id);
    } else if (!looks(property, type)) {
      refuse(property);
    }
  }

  static bool looks(const Property& property, Int32 type) {
    const bool opened = property.name.text == "DEFAULT";
    return type == DTYPE_GROUP &&
           (opened || std::find(kLooks.begin(), kLooks.end(), property.name.text) != kLooks.end());
  }

  void setCycle(BaseContainer& made, const Property& property) const {
    BaseContainer choices;
    for (const Token& one : property.values) {
      const auto label = files_.labels.find(one.text);
      choices.SetString(symbol(one), fromUtf8(label == files_.labels.end() ? one.text : label->second));
    }
    made.SetContainer(DESC_CYCLE, choices);
    made.SetInt32(DESC_CUSTOMGUI, CUSTOMGUI_CYCLE);
  }

  Int32 acceptedType(const Token& token) const {
    if (token.text == "Ocamera") return Ocamera;
    if (token.text == "Obase") return Obase;
    return symbol(token);
  }

  GeData valueOf(const Token& token, Int32 type) const {
    if (type == DTYPE_STRING && token.is(Token::Kind::Text)) return GeData(fromUtf8(token.text));
    if (type == DTYPE_REAL && token.is(Token::Kind::Number)) return GeData(realOf(token));
    if (type == DTYPE_LONG || type == DTYPE_BOOL) return GeData(symbol(token));
    damaged(token, "a parameter of this type has no such value");
  }

  Int32 wholeNumberOf(const Token& token) const {
    Int32 value = 0;
    const char* end = token.text.data() + token.text.size();
    const auto read = std::from_chars(token.text.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end) damaged(token, "expected a whole number of 32 bits");
    return value;
  }

  Float realOf(const Token& token) const {
    std::istringstream text(token.text);
    text.imbue(std::locale::classic());
    Float value = 0.0;
    if (!(text >> value) || text.peek() != std::istringstream::traits_type::eof()) damaged(token, "expected a number");
    return value;
  }

  const DescriptionFiles& files_;
  const Registry& registry_;
  std::vector<DescriptionEntry> entries_;
};

}  // namespace

std::vector<DescriptionEntry> loadDescription(const DescriptionFiles& files, const Registry& registry) {
  return Loader(files, registry).load();
}

}  // namespace quillmere::host
