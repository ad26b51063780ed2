#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "application.h"

namespace quillmere::host {

// What a module declares of itself, in its order.
struct Registration {
  std::string identifier;  // reversed domain
  std::vector<std::string> units;
  std::vector<std::pair<std::string, std::string>> entities;  // name, and the unit it is registered under
  std::vector<std::string> frameworks;                        // those of the host that it uses
};

// Reads it from the one module in the plug-in's folder, which is opened for that but not started. Nothing for a module
// without such a declaration. Throws Error when the module can't be opened.
QM_HOST_API std::optional<Registration> registrationOf(const std::filesystem::path& folder);

}  // namespace quillmere::host
