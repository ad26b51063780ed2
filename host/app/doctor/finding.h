#pragma once

#include <string>

namespace quillmere::app {

// What one check found.
struct Finding {
  enum class State { Ok, Note, Broken };  // a note doesn't keep a render from working

  std::string subject;
  State state = State::Ok;
  std::string detail;
  std::string remedy;  // empty when there is nothing to do
};

}  // namespace quillmere::app
