#pragma once

#include <string>

#include "base/json.h"

// What the helper has answered about a workflow, as lines for people. What others wrote in it can't steer a terminal,
// and what is missing or of another kind is left out.
namespace quillmere::app {

// Where each part of a request goes, what comes back, and what the server lacks.
std::string checkText(const Json& answer);

// Each control with its value, what it takes, and where it stands.
std::string controlsText(const Json& answer);

}  // namespace quillmere::app
