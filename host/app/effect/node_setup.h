#pragma once

#include <string>
#include <vector>

#include "effect/node_parameters.h"

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

// Whether anything said which workflow to use.
enum class WorkflowGiven { No, Yes };

// Gives the node what the command line says: first the settings file, without what the options say themselves, then
// the workflow, then the assignments in the order of the panel, so that an unlocked field can be written in the same
// command; `camera` (may be empty) goes before an assignment of the camera. Throws Failure.
WorkflowGiven setUpNode(NodeParameters& node, host::Document& document, const EffectOptions& options,
                        const std::string& camera);

}  // namespace quillmere::app
