#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "sdk/door/document.h"
#include "sdk/door/parameters.h"

namespace quillmere::app {

// A parameter of a node as its panel describes it, or, when it isn't shown there, as it is stored.
struct Parameter {
  enum class Kind { Bool, Whole, Text, File, Camera, ReadOnly };
  struct Choice {
    int value;
    std::string text;
  };

  int id = 0;
  std::string name;
  Kind kind = Kind::Text;
  std::optional<int> least, most;
  std::vector<Choice> choices;  // empty: any value
};

// The parameters of the effect's node, read and written as an application's panel does it: the node is asked first,
// and its description says what is accepted. Borrows the document and its node.
class NodeParameters {
 public:
  NodeParameters(host::Document& document, cinema::BaseVideoPost& node);

  const std::vector<Parameter>& all() const { return all_; }
  // `parameter` is a name or an ID in decimal. Throws Failure (usage), which lists those there are.
  const Parameter& find(const std::string& parameter) const;
  // Reads `value` as the parameter's kind asks; choices and cameras may be named. Throws Failure (usage), which says
  // what is accepted.
  void set(const Parameter& parameter, const std::string& value);

  // As the node shows them.
  int number(int id) const;
  std::string text(int id) const;
  // Every stored value by ID, each in its own type; null where there is none; a camera by its name.
  nlohmann::ordered_json stored() const;

  // Past the panel: straight into what the node stores.
  void store(int id, const std::string& text);
  void store(int id, int number);

 private:
  cinema::GeData parsed(const Parameter& parameter, const std::string& value) const;

  host::Document& document_;
  cinema::BaseVideoPost& node_;
  std::vector<host::DescriptionEntry> described_;
  std::vector<Parameter> all_;
};

}  // namespace quillmere::app
