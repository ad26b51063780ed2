#include <array>
#include <exception>

#include "app/commands/commands.h"
#include "app/process/user_break.h"
#include "app/report/output.h"
#include "app/values/failure.h"
#include "studio/studio_command.h"

namespace {

constexpr std::array kCommands{
    quillmere::app::Command{"studio", "Open a page on this machine that shows renders, and finds them again",
                            quillmere::studio::addStudio},
};

}  // namespace

int main(int argc, char** argv) {
  quillmere::app::openMissingStandardStreams();
  quillmere::app::settleSignals();
  try {
    return static_cast<int>(quillmere::app::run(argc, argv, kCommands));
  } catch (const std::exception& error) {
    const quillmere::app::Ending ending = quillmere::app::endingOf(error);
    quillmere::app::printError(ending.error + (ending.remedy.empty() ? "" : "\n  " + ending.remedy));
    return static_cast<int>(ending.status);
  }
}
