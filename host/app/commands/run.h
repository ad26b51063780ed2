#pragma once

#include "values/failure.h"

namespace quillmere::app {

// The whole command: parses, and runs the sub-command that was asked for. Throws what main prints.
ExitStatus run(int argc, const char* const* argv);

}  // namespace quillmere::app
