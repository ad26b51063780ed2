#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace quillmere::app {

// One value for one parameter of the effect's node, both as they were written.
struct Assignment {
  std::string parameter;  // an ID or a name
  std::string value;
};

// What the effect is told.
struct EffectOptions {
  std::string workflow;                 // empty: the preferred one
  std::string settings;                 // file to begin with; empty: a new node's
  std::vector<Assignment> assignments;  // in the order in which they were written
};

// The values that `options` points to are complete once the command line has been parsed.
void addEffectOptions(CLI::App& command, EffectOptions& options);

}  // namespace quillmere::app
