#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "base/json.h"
#include "node_parameters.h"

// What a workflow lets its user set without changing its file: an object of values (texts, numbers, true or false) by
// the controls' names. Only the helper knows which there are, and what each takes.
namespace quillmere::app {

// Reads "NAME=VALUE" into `controls`, over an earlier value of that name. A VALUE that is a number, true or false is
// taken as such, and everything else for a text, with or without double quotes around it. Throws Failure (usage).
void readControl(const std::string& text, Json& controls);

// `value` when it is such an object, empty for null. Throws Error, the reason alone.
Json checkedControls(const Json& value);

// How `controls` write the name of this one, if it is among them: a graph's controls have no upper and lower case.
std::optional<std::string> controlCalled(const std::string& name, const Json& controls);

// `kept` with `given` over it.
Json mergedControls(const Json& kept, const Json& given);

// Puts a file in `folder` (made where it is missing) that names the workflow and the values, in place of which the
// helper takes it. Throws Failure and Error.
std::filesystem::path writeControlled(const std::filesystem::path& workflow, const Json& controls,
                                      const std::filesystem::path& folder);

// Sets controls of the workflow that the node has: puts such a file in `folder`, and has the node name it. Does nothing
// without any. Throws Failure and Error.
void setControls(NodeParameters& node, const Json& controls, const std::filesystem::path& folder);

}  // namespace quillmere::app
