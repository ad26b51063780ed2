#pragma once

#include <string>

#include "parameter.h"
#include "sdk/api/document.h"

namespace quillmere::app {

// Throws Failure (usage): the parameter doesn't take `value`, because of `why` ("" when it is no value for it at all).
[[noreturn]] void refuseValue(const Parameter& parameter, const std::string& value, const std::string& why,
                              const std::string& accepted);

// `text` as the parameter's kind, choices and limits have it: choices and the document's cameras by their names or, the
// choices, their numbers; an empty text for no camera; a relative file against the working directory. Throws Failure
// (usage), which says what is accepted.
cinema::GeData acceptedValue(const Parameter& parameter, const std::string& text, const host::Document& document);

}  // namespace quillmere::app
