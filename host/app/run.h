#pragma once

#include <string>
#include <vector>

#include "failure.h"

namespace quillmere::app {

// The whole command: parses, and runs the sub-command that was asked for. Throws what main prints.
ExitStatus run(int argc, const char* const* argv);

// All of `text` on standard output. Throws Failure when it can't be written there.
void printResult(const std::string& text);
// "quillmere: text" on standard error, harmless to terminals.
void printError(const std::string& text);
// The same for what a scene asks for and doesn't get, one line each.
void printWarnings(const std::vector<std::string>& warnings);

}  // namespace quillmere::app
