#include "parameter_ids.h"

#include "parameter_table.h"

namespace quillmere::app {

const std::vector<NamedParameter>& namedParameters() {
  static const std::vector<NamedParameter> all = [] {
    std::vector<NamedParameter> named;
    for (const quillmere::Parameter& row : kParameters) named.push_back({row.id, row.name});
    return named;
  }();
  return all;
}

}  // namespace quillmere::app
