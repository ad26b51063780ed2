#include <exception>

#include "commands/commands.h"
#include "process/user_break.h"
#include "report/output.h"
#include "values/failure.h"

int main(int argc, char** argv) {
  quillmere::app::openMissingStandardStreams();
  quillmere::app::settleSignals();
  try {
    return static_cast<int>(quillmere::app::run(argc, argv));
  } catch (const std::exception& error) {
    const quillmere::app::Ending ending = quillmere::app::endingOf(error);
    quillmere::app::printError(ending.error + (ending.remedy.empty() ? "" : "\n  " + ending.remedy));
    return static_cast<int>(ending.status);
  }
}
