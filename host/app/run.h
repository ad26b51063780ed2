#pragma once

#include <string>

#include "failure.h"

namespace quillmere::app {

// The whole command: parses, and runs the sub-command that was asked for. Throws what main prints.
ExitStatus run(int argc, const char* const* argv);

// "quillmere: text" on standard error, harmless to terminals.
void printError(const std::string& text);

}  // namespace quillmere::app
