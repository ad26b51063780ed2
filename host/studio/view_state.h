#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillmere::studio {

// What the effect and viewers tell each other of a write directory, as docs/exchange-files.md has it.
struct ViewState {
  std::string last, selected, lockedStyle, history, guide, status;
};

// None when the file is missing, damaged or no ordinary file; members that are no texts are empty.
std::optional<ViewState> viewStateIn(const std::filesystem::path& writeDirectory);

// A viewer's own part of it; what isn't given stays.
struct ViewChoice {
  std::optional<std::string> selected, lockedStyle;  // full paths; empty for none
};

// Writes the choice beside the file, which it then replaces, in the form that the effect reads: escapes for the double
// quote, the backslash and white space only. Throws Error, also for a path with other control characters.
void choose(const std::filesystem::path& writeDirectory, const ViewChoice& choice);

}  // namespace quillmere::studio
