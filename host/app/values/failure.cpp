#include "failure.h"

#include <new>
#include <system_error>

namespace quillmere::app {

Ending endingOf(const std::exception& thrown) {
  if (const auto* failure = dynamic_cast<const Failure*>(&thrown)) {
    return {failure->status(), failure->what(), failure->remedy()};
  }
  if (dynamic_cast<const std::bad_alloc*>(&thrown) != nullptr) {
    return {ExitStatus::Failed, "memory: there is not enough of it for this",
            "raise the limits (ulimit -v), or try a smaller --size or scene"};
  }
  const auto* system = dynamic_cast<const std::system_error*>(&thrown);
  const bool limit = system != nullptr && (system->code() == std::errc::resource_unavailable_try_again ||
                                           system->code() == std::errc::not_enough_memory);
  return {ExitStatus::Failed, thrown.what(), limit ? "raise the limits (ulimit -v, ulimit -u)" : ""};
}

}  // namespace quillmere::app
