#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "effect_session.h"

namespace quillmere::app {

// A workflow of the catalog.
struct Workflow {
  int number = 0;  // in the node's menu, from 1
  std::string id, name;
  std::filesystem::path file;  // where its definition is expected
};

// The catalog as the node sees it now. The node's own choice is left as it was.
std::vector<Workflow> catalogOf(NodeParameters& node);

// Chooses the workflow that `wanted` means: an ID or a name of the catalog, "None", or a file. Throws Failure (usage),
// which lists those there are.
void chooseWorkflow(NodeParameters& node, const std::string& wanted);

// Makes the node store a choice as it is, whether the catalog has it or not.
void storeWorkflow(NodeParameters& node, int number, const std::string& id, const std::string& file);

// Whether there was a workflow to prefer.
enum class Preferred { Kept, ReplacedByExample };

// For a node that has no workflow because the catalog is empty: chooses the example that comes with the plug-in.
// Throws Failure when that isn't there either.
Preferred preferWorkflow(NodeParameters& node, const PluginFolder& plugin);

}  // namespace quillmere::app
