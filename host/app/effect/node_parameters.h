#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "parameter.h"
#include "sdk/api/document.h"
#include "sdk/api/parameters.h"

namespace quillmere::app {

// The parameters of the effect's node, read and written as an application's panel does it: the node is asked first,
// and its description says what is accepted. Borrows the document and its node.
class NodeParameters {
 public:
  NodeParameters(host::Document& document, cinema::BaseVideoPost& node, const std::vector<ParameterName>& names);

  const std::vector<Parameter>& all() const { return all_; }  // by ID
  std::vector<Parameter> panel() const;                       // those shown, from the top
  // The second takes a name or an ID in decimal. Throws Failure (usage), which lists those there are.
  const Parameter& find(int id) const;
  const Parameter& find(const std::string& nameOrId) const;
  // Throws Failure (usage), which says what is accepted.
  void set(const Parameter& parameter, const Value& value);

  // As the node shows them.
  Json shown(const Parameter& parameter) const;  // as in stored()
  bool editable(const Parameter& parameter) const;
  int number(int id) const;
  std::string text(int id) const;

  // As the node stores them, each in its own type; null where there is none; a camera by its name.
  Json stored(int id) const;
  Json stored() const;  // all of them, by ID

  // Past the panel: straight into what the node stores.
  cinema::GeData storedData(int id) const;
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
