#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "drawing_options.h"
#include "node_parameters.h"

// Settings of the node: those of a command line, and those that last. These are what the node stores, as an
// application's document keeps it, in a JSON file.
//
//   {"format": "quillmere settings", "version": 1, "parameters": {"QUILLMERE_PROMPT": "fog", …},
//    "drawing": {"exposure": 1.5, …}, "controls": {…}}
//
// Parameters stand by their names: Bools as true or false, numbers, texts and files as texts, the camera by its name or
// null. The workflow is what QUILLMERE_WORKFLOW_ID names; its number in the catalog is of no meaning without that.
// A parameter that is left out keeps its value. "drawing", which may be left out, is how the host draws; the workflow's
// controls stand there where any were set.
namespace quillmere::app {

// What the effect is told.
struct EffectOptions {
  std::string workflow;                 // empty: the preferred one
  std::string settings;                 // file to begin with; empty: a new node's
  std::vector<Assignment> assignments;  // in the order in which they were written
  Json controls = Json::object();       // of the workflow, see controls.h
};

// Whether anything said which workflow to use.
enum class WorkflowGiven { No, Yes };

struct NodeSetUp {
  WorkflowGiven workflow = WorkflowGiven::No;
  Json controls = Json::object();  // those of the settings file, where its workflow is kept, and over them the options'
};

// Gives the node what the command line says: first the settings file, without what the options say themselves, then
// the workflow, then the assignments in the order of the panel, so that an unlocked field can be written in the same
// command; `camera` (may be empty) goes before an assignment of the camera. Throws Failure, also for a file that is
// damaged, foreign, of another version, or larger than 8 MiB.
NodeSetUp setUpNode(NodeParameters& node, host::Document& document, const EffectOptions& options,
                    const std::string& camera);

// How a settings file says that the host draws. Throws Failure as setUpNode does.
DrawingOptions drawingIn(const std::filesystem::path& file);

// What a settings file holds of the node's parameters, the workflow's controls and the drawing, without its head.
Json settingsOf(const NodeParameters& node, const Json& controls, const DrawingOptions& drawing);

// Replaces `file` at once or not at all. Throws Error.
void saveSettings(const NodeParameters& node, const Json& controls, const DrawingOptions& drawing,
                  const std::filesystem::path& file);

}  // namespace quillmere::app
