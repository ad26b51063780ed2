#pragma once

#include <stdexcept>
#include <string>

namespace quillmere::app {

enum class ExitStatus { Done = 0, Failed = 1, Usage = 2, Broken = 130 };

// Ends the command with `status`. what() reads "what: why" and, on lines of its own, what to do about it.
class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus status, const std::string& what, const std::string& why, const std::string& remedy = {})
      : std::runtime_error(what + ": " + why + (remedy.empty() ? "" : "\n  " + remedy)), status_(status) {}

  ExitStatus status() const { return status_; }

 private:
  ExitStatus status_;
};

}  // namespace quillmere::app
