#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "base/json.h"
#include "commands/options.h"

namespace quillmere::studio {

// Commands of this program in processes of their own: the page says what the command line says, by the same code, and
// what breaks there breaks nothing here. Any thread.

constexpr std::chrono::seconds kCommandPatience{60};

// `words` and what makes the command look where this one looks. Options go before the word "--", where there is one:
// behind it stand texts of others, which may begin with a hyphen. The first is for commands that have --write-dir.
std::vector<std::string> withSession(std::vector<std::string> words, const app::SessionOptions& session);
std::vector<std::string> withPlugin(std::vector<std::string> words, const app::SessionOptions& session);

// The JSON that the command `words` prints, --json being added. Throws Refused (422) with what it says on standard
// error when it prints none, takes longer than `patience`, or can't be started; an exit status of 1 beside JSON is an
// answer.
Json answerOfCommand(std::vector<std::string> words, std::chrono::milliseconds patience = kCommandPatience);

// The program ends: kills what runs, and refuses what comes.
void endCommands();

}  // namespace quillmere::studio
