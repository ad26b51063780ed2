#include <array>
#include <exception>
#include <new>
#include <string>
#include <system_error>

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
  using quillmere::app::ExitStatus;
  quillmere::app::openMissingStandardStreams();
  quillmere::app::settleSignals();
  try {
    return static_cast<int>(quillmere::app::run(argc, argv, kCommands));
  } catch (const quillmere::app::Failure& failure) {
    quillmere::app::printError(failure.what() + (failure.remedy().empty() ? "" : "\n  " + failure.remedy()));
    return static_cast<int>(failure.status());
  } catch (const std::bad_alloc&) {
    quillmere::app::printError("memory: there is not enough of it for this; try a smaller --size or scene");
  } catch (const std::system_error& error) {
    const bool limit =
        error.code() == std::errc::resource_unavailable_try_again || error.code() == std::errc::not_enough_memory;
    quillmere::app::printError(error.what() + std::string(limit ? "; raise the limits (ulimit -v, ulimit -u)" : ""));
  } catch (const std::exception& error) {
    quillmere::app::printError(error.what());
  }
  return static_cast<int>(ExitStatus::Failed);
}
