#pragma once

#include <string>

#include "files/ordinary_file.h"

namespace quillmere::app {

// What one check found.
struct Finding {
  enum class State { Ok, Note, Broken };  // a note doesn't keep a render from working

  std::string subject;
  State state = State::Ok;
  std::string detail;
  std::string remedy;  // empty when there is nothing to do
};

inline Finding broken(const std::string& subject, const Obstacle& obstacle) {
  return {subject, Finding::State::Broken, obstacle.what + ": " + obstacle.why, obstacle.remedy};
}

}  // namespace quillmere::app
