#include "changes.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "addition.h"
#include "report/output.h"
#include "state_file.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

[[noreturn]] void refuse(const std::string& wanted, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Usage, "workflow '" + wanted + "'", why, remedy);
}

// A place in a list of so many, counted from 1; none when `text` is no such number.
std::optional<std::size_t> placeIn(const std::string& text, std::size_t count) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > count) return {};
  return number - 1;
}

// An identifier goes before a name, and that before a number.
std::size_t indexOf(const std::string& wanted, const std::vector<EntrySpan>& entries) {
  std::vector<std::string> ids, names;
  for (const EntrySpan& entry : entries) {
    ids.push_back(entry.id);
    names.push_back(entry.name);
  }
  for (const auto& texts : {ids, names}) {
    if (std::count(texts.begin(), texts.end(), wanted) > 1) {
      refuse(wanted, "several have this name or identifier", "choose by number: quillmere workflows list");
    }
    if (const auto found = indexOfName(texts, wanted)) return *found;
  }
  if (const auto place = placeIn(wanted, entries.size())) return *place;
  refuse(wanted, "there is none of this name or identifier", "the names: " + listed(names));
}

}  // namespace

void renameWorkflow(const std::string& wanted, const std::string& name, const PluginFolder& plugin) {
  requireName(name);
  const StateFile state(plugin);
  const std::size_t index = indexOf(wanted, state.present().entries());
  std::vector<StateEntry> expected = state.present().listed();
  expected[index].name = name;
  state.replace(state.present().withName(index, name), expected);
}

void removeWorkflow(const std::string& wanted, const PluginFolder& plugin) {
  const StateFile state(plugin);
  const std::size_t index = indexOf(wanted, state.present().entries());
  std::vector<StateEntry> expected = state.present().listed();
  const std::string id = expected[index].id;
  expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(index));
  state.replace(state.present().without(index), expected);
  const std::filesystem::path file = state.manager().workflow(id);
  std::error_code error;
  if (std::filesystem::exists(file, error)) printError("its file stays: '" + file.string() + "'");
}

void moveWorkflow(const std::string& wanted, const std::string& place, const PluginFolder& plugin) {
  const StateFile state(plugin);
  std::vector<StateEntry> expected = state.present().listed();
  const std::size_t from = indexOf(wanted, state.present().entries());
  const auto to = placeIn(place, expected.size());
  if (!to)
    refuse(wanted, "it can't be moved to '" + place + "'", "give a place from 1 to " + std::to_string(expected.size()));
  const StateEntry moved = expected[from];
  expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(from));
  expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(*to), moved);
  state.replace(state.present().withMoved(from, *to), expected);
}

}  // namespace quillmere::app
