#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>

#include "effect/node_parameters.h"

// Settings that last: what the node stores, as an application's document keeps it, in a JSON file.
//
//   {"format": "quillmere settings", "version": 1, "parameters": {"QUILLMERE_PROMPT": "fog", …}}
//
// Parameters stand by their names: Bools as true or false, numbers, texts and files as texts, the camera by its name or
// null. The workflow is what QUILLMERE_WORKFLOW_ID names; its number in the catalog is of no meaning without that.
// A parameter that is left out keeps its value.
namespace quillmere::app {

// Replaces `file` at once or not at all. Throws Error.
void saveSettings(const NodeParameters& node, const std::filesystem::path& file);

// The file's "parameters", each of them one of the node's. Throws Failure for what is damaged, foreign, of another
// version, or larger than 8 MiB.
nlohmann::ordered_json readSettings(const NodeParameters& node, const std::filesystem::path& file);

}  // namespace quillmere::app
