#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "parameter.h"
#include "parameter_ids.h"
#include "sdk/api/document.h"
#include "sdk/api/parameters.h"

namespace quillmere::app {

// The parameters of the effect's node, read and written as an application's panel does it: the node is asked first,
// and its description says what is accepted. Borrows the document and its node.
class NodeParameters {
 public:
  NodeParameters(host::Document& document, cinema::BaseVideoPost& node, const std::vector<NamedParameter>& named);

  const std::vector<Parameter>& all() const { return all_; }  // by ID
  std::vector<Parameter> panel() const;                       // those shown, from the top
  // `parameter` is a name or an ID in decimal. Throws Failure (usage), which lists those there are.
  const Parameter& find(const std::string& parameter) const;
  const Parameter& find(int id) const { return find(std::to_string(id)); }
  // Reads `value` as the parameter's kind asks; choices and cameras may be named. Throws Failure (usage), which says
  // what is accepted.
  void set(const Parameter& parameter, const std::string& value);

  // As the node shows them.
  nlohmann::ordered_json value(const Parameter& parameter) const;  // as in stored()
  bool editable(const Parameter& parameter) const;
  int number(int id) const;
  std::string text(int id) const;

  // Every stored value by ID, each in its own type; null where there is none; a camera by its name.
  nlohmann::ordered_json stored() const;

  // Past the panel: straight into what the node stores.
  void store(int id, const std::string& text);
  void store(int id, int number);
  void store(int id, const cinema::GeData& value);

 private:
  Parameter described(int id, const std::string& name) const;
  const host::DescriptionEntry* entryOf(int id) const;

  host::Document& document_;
  cinema::BaseVideoPost& node_;
  std::vector<host::DescriptionEntry> described_;
  std::vector<Parameter> all_;
};

}  // namespace quillmere::app
