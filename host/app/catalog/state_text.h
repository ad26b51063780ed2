#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "effect/state_entries.h"
#include "state_scan.h"

namespace quillmere::app {

// The text of the workflow manager's state. Each change gives the new text, in which every other byte stands as it was
// and in its order; what its form doesn't allow is a Failure that says so.
class StateText {
 public:
  // `file` is named in messages. Throws Failure for a text that is no JSON, larger than 8 MiB or nested too deeply; a
  // blank one is a state without workflows.
  StateText(std::string text, std::filesystem::path file);

  const std::string& text() const { return text_; }
  const std::vector<EntrySpan>& entries() const { return outline_.entries; }
  std::vector<StateEntry> listed() const;

  // Behind the last workflow of the list "workflows", or of the list that holds the last one. The texts must hold
  // nothing that JSON escapes.
  std::string withAdded(const StateEntry& workflow) const;
  std::string withName(std::size_t index, const std::string& name) const;
  std::string without(std::size_t index) const;
  // The workflow takes the place of the one at `to`, and those between move up.
  std::string withMoved(std::size_t from, std::size_t to) const;

 private:
  [[noreturn]] void refuse(const std::string& why) const;
  const StateList* listToAddTo() const;
  std::string withAddedTo(const StateList& list, const std::string& entry) const;
  std::string withNewList(const std::string& entry) const;
  void requireElement(std::size_t index) const;

  std::string text_;
  std::filesystem::path file_;
  StateOutline outline_;
};

}  // namespace quillmere::app
