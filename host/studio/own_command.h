#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "base/json.h"
#include "commands/options.h"

namespace quillmere::studio {

// Commands of this program in processes of their own: the page says what the command line says, by the same code, and
// what breaks there breaks nothing here. A few run at a time; another waits for a moment, and is refused (503). Any
// thread.

constexpr std::chrono::seconds kCommandPatience{60};

// `words` and what makes the command look where this one looks. Options go before the word "--", where there is one:
// behind it stand texts of others, which may begin with a hyphen. The first is for commands that have --write-dir.
std::vector<std::string> withSession(std::vector<std::string> words, const app::SessionOptions& session);
std::vector<std::string> withPlugin(std::vector<std::string> words, const app::SessionOptions& session);

// The JSON that the command `words` prints, --json being added. Throws Refused (422) with what it says on standard
// error when it prints none, takes longer than `patience`, or can't be started; an exit status of 1 beside JSON is an
// answer.
Json answerOfCommand(std::vector<std::string> words, std::chrono::milliseconds patience = kCommandPatience);

// The same for a command that is run for what it does: throws whenever its exit status isn't 0, and Refused (409) when
// it was ended because `stop` (may be empty) has come to say true.
void runCommand(std::vector<std::string> words, const std::function<bool()>& stop = {},
                std::chrono::milliseconds patience = kCommandPatience);

// The program ends: kills what runs, and refuses what comes.
void endCommands();

}  // namespace quillmere::studio
