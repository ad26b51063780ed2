#include "parameter_ids.h"

#include <algorithm>

#include "sdk/resource/enum_header.h"

namespace quillmere::app {

std::vector<NamedParameter> namedParameters(const PluginFolder& plugin) {
  host::resource::Symbols symbols;
  host::resource::readEnumHeader(plugin.path / "res" / "description" / "vpquillmere.h", symbols);
  std::vector<NamedParameter> named;
  for (const auto& [name, id] : symbols) named.push_back({id, name});
  std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
  return named;
}

}  // namespace quillmere::app
