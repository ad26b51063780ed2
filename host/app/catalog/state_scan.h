#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Where the workflows stand in the text of the workflow manager's state, so that it can be changed without touching
// anything else. Positions are bytes from the text's beginning.
namespace quillmere::app {

constexpr auto kNowhere = std::string_view::npos;

struct Span {
  std::size_t begin = 0, end = 0;
};

// A flat object with an "id" and, behind it, a "name", which is what the effect takes for a workflow.
struct EntrySpan {
  std::string id, name;  // as the effect has them: without any escape undone, cut at an escaped quote
  Span object;           // with its braces
  Span nameText;         // between the quotes
  std::size_t list;      // where the array begins that it is an element of; kNowhere for what is no element
};

// An array that holds workflows, or could: the root, or the root's "workflows".
struct StateList {
  Span array;              // with its brackets
  std::size_t last;        // where its last element begins; kNowhere when it is empty
  bool workflows = false;  // it is the root's "workflows"
  bool foreign = false;    // it holds objects that the effect doesn't take for workflows
};

struct StateOutline {
  std::vector<EntrySpan> entries;  // in the order of the text, as are the lists by their ends
  std::vector<StateList> lists;
  Span root;                       // the outermost object or array; empty when there is neither
  std::size_t lastKey = kNowhere;  // of a root object: where its last member begins
  bool rootHasWorkflows = false;   // it has a member of that name, whatever it is
};

// `json` must be valid JSON. Linear time, memory in proportion to the depth and to what is returned.
StateOutline outlineOf(std::string_view json);

}  // namespace quillmere::app
