#include "module_declaration.h"

#include "base/utf8.h"
#include "sdk/api/application.h"

namespace quillmere::app {
namespace {

std::string textOf(const Json& value) {
  if (!value.is_object()) return value.get<std::string>();
  std::string text = value["name"].get<std::string>();
  return text.append(" in ").append(value["unit"].get<std::string>());
}

std::string line(std::string subject, const Json& value) {
  subject.resize(12, ' ');
  return subject + printable(textOf(value)) + "\n";
}

}  // namespace

Json moduleDeclaration(const PluginFolder& plugin) {
  const auto declared = host::registrationOf(plugin.path);
  if (!declared) {
    throw Error("cannot read the declaration of the module in '" + plugin.path.string() +
                "': it has none; build it with project/registration.py's source in it");
  }
  Json entities = Json::array();
  for (const auto& [name, unit] : declared->entities) entities.push_back({{"name", name}, {"unit", unit}});
  return {{"identifier", declared->identifier},
          {"unit", declared->units},
          {"entity", entities},
          {"framework", declared->frameworks}};
}

std::string linesOf(const Json& declaration) {
  std::string lines;
  for (const auto& [subject, value] : declaration.items()) {
    if (!value.is_array()) lines += line(subject, value);
    if (value.is_array())
      for (const Json& each : value) lines += line(subject, each);
  }
  return lines;
}

}  // namespace quillmere::app
