#include "registration.h"

#include "framework/module_registration.h"
#include "module/module_file.h"

namespace quillmere::host {

namespace {

std::vector<std::string> listOf(const char* const* names) {
  std::vector<std::string> list;
  for (; *names; ++names) list.emplace_back(*names);
  return list;
}

}  // namespace

std::optional<Registration> registrationOf(const std::filesystem::path& folder) {
  const ModuleFile module(ModuleFile::in(folder));
  const auto* const declared =
      static_cast<const QuillmereHostRegistration*>(module.find("quillmere_host_registration"));
  if (!declared) return {};
  Registration registration{declared->identifier, listOf(declared->units), {}, listOf(declared->frameworks)};
  for (const auto* entity = declared->entities; entity->name; ++entity)
    registration.entities.emplace_back(entity->name, entity->unit);
  return registration;
}

}  // namespace quillmere::host
