#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere::app {

// A workflow of a workflow manager's state file, both texts as they stand between their quotes there, no escape undone.
struct StateEntry {
  std::string id, name;
  bool operator==(const StateEntry&) const = default;
};

// The entries that the effect finds in such a file's text, in its order: objects without nested objects that hold "id"
// and later "name"; broken UTF-8 has become U+FFFD. None when an object could be read in more than one way (a brace or
// a quote within a text, a key twice): only the effect knows what it makes of that. Linear time.
std::optional<std::vector<StateEntry>> stateEntries(std::string_view text);

}  // namespace quillmere::app
