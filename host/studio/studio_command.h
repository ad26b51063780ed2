#pragma once

#include "commands/commands.h"

namespace quillmere::studio {

// `quillmere studio`
app::Action addStudio(CLI::App& command);

}  // namespace quillmere::studio
