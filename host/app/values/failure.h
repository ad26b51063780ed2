#pragma once

#include <exception>
#include <string>
#include <utility>

#include "base/error.h"

namespace quillmere::app {

enum class ExitStatus { Done = 0, Failed = 1, Usage = 2, Broken = 130 };

// Ends the command with `status`. what() reads "what: why".
class Failure : public Error {
 public:
  Failure(ExitStatus status, const std::string& what, const std::string& why, std::string remedy = {})
      : Error(what + ": " + why), status_(status), remedy_(std::move(remedy)) {}

  ExitStatus status() const { return status_; }
  const std::string& remedy() const { return remedy_; }  // what to do about it; empty when nothing can be told

 private:
  ExitStatus status_;
  std::string remedy_;
};

// How the command ends.
struct Ending {
  ExitStatus status = ExitStatus::Done;
  std::string error, remedy;  // empty where there is nothing to tell
};

// Because of what was thrown.
Ending endingOf(const std::exception& thrown);

// What `read` returns; an Error of its, the reason alone, becomes the Failure of `what`.
template <class Read>
auto readOrFail(const std::string& what, const std::string& remedy, const Read& read) {
  try {
    return read();
  } catch (const Error& error) {
    throw Failure(ExitStatus::Failed, what, error.what(), remedy);
  }
}

}  // namespace quillmere::app
