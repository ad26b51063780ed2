#pragma once

#include <string>

#include "effect/node_parameters.h"
#include "options/effect_options.h"

namespace quillmere::app {

// Whether anything said which workflow to use.
enum class WorkflowGiven { No, Yes };

// Gives the node what the command line says: first the settings file, without what the options say themselves, then
// the workflow, then the assignments in the order of the panel, so that an unlocked field can be written in the same
// command; `camera` (may be empty) goes before an assignment of the camera. Throws Failure.
WorkflowGiven setUpNode(NodeParameters& node, host::Document& document, const EffectOptions& options,
                        const std::string& camera);

}  // namespace quillmere::app
