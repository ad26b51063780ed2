#pragma once

#include <string>

#include "sdk/api/document.h"

namespace quillmere::app {

// The camera of that name, or the only one that has it when upper and lower case are taken as alike. Throws Failure
// (usage), which lists the cameras there are.
const host::Document::Camera& chosenCamera(const host::Document& document, const std::string& name);

}  // namespace quillmere::app
