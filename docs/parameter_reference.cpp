// Writes the page of the effect's parameters from their table to standard output; with the name of a page, compares it.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

#include "guide_mode.h"
#include "parameter_table.h"

namespace quillmere {
namespace {

// What the table doesn't know of a parameter: its use, and a default that a new node works out for itself.
struct Remark {
  int id;
  const char* use;
  const char* computedDefault = "";
};
constexpr Remark kRemarks[] = {
    {QUILLMERE_UNLOCK_SYSTEM_PROMPT, "lets the system prompt be edited"},
    {QUILLMERE_SYSTEM_PROMPT, "goes before the prompt; greyed out, but used, until it is unlocked"},
    {QUILLMERE_WORKFLOW, "the workflow that makes the picture: None or one of the catalog",
     "the catalog's first FLUX.2, else its first"},
    {QUILLMERE_PROMPT, "what the picture shows"},
    {QUILLMERE_REFINE_PROMPT, "kept, not sent"},
    {QUILLMERE_CAMERA, "the camera that the guide is drawn through; none: the view's", "none"},
    {QUILLMERE_GUIDE_MODE, "how the guide is drawn"},
    {QUILLMERE_WORKFLOW_PATH, "the chosen workflow's file", "follows the workflow"},
    {QUILLMERE_WORKFLOW_ID, "the chosen workflow's identifier", "follows the workflow"},
    {QUILLMERE_OUTPUT_DIRECTORY, "folder of the generated pictures", "`quillmere/c4d/renders` in the write directory"},
    {QUILLMERE_FILENAME_PREFIX, "how the names of the generated pictures begin"},
    {QUILLMERE_HISTORY_LIMIT, "kept; the history is not cut to it"},
    {QUILLMERE_OPEN_PREVIEW_AFTER_RENDER, "asks the host to show each picture once it is there"},
    {QUILLMERE_SAVE_HISTORY_SNAPSHOTS, "keeps an entry of each picture in the history"},
    {QUILLMERE_LAST_HISTORY_ENTRY, "the last picture's file; the effect writes it"},
    {QUILLMERE_STATUS, "the last stage; the effect writes it"},
};

constexpr bool RemarksStandBesideTheTable() {
  int id = kParameters[0].id;
  for (const Remark& remark : kRemarks) {
    if (remark.id != id++) return false;
  }
  return std::size(kRemarks) == std::size(kParameters);
}
static_assert(RemarksStandBesideTheTable(), "each parameter has its remark");

const char* TypeOf(Stored stored) {
  switch (stored) {
    case Stored::Bool:
      return "Bool";
    case Stored::Int32:
      return "Int32";
    case Stored::FileName:
      return "Filename";
    case Stored::Link:
      return "link";
    case Stored::Text:
      break;
  }
  return "String";
}

std::string ShownAs(const Parameter& row) {
  switch (row.field) {
    case Field::Toggle:
      return "toggle";
    case Field::WorkflowMenu:
      return "menu of the catalog";
    case Field::GuideModeMenu:
      return std::string("menu: 0 ") + GuideModeLabel(GuideMode(0)) + ", 1 " + GuideModeLabel(GuideMode(1));
    case Field::CameraLink:
      return "link to a camera";
    case Field::TextLine:
      return "line of text";
    case Field::TextArea:
      return "lines of text";
    case Field::Path:
      return "file";
    case Field::StaticText:
      return "text to read";
    case Field::Integer:
      return "number from " + std::to_string(row.minimum) + " to " + std::to_string(row.maximum);
    case Field::None:
      break;
  }
  return "";
}

std::optional<int> PlaceOf(const Parameter& row) {
  for (std::size_t place = 0; place < std::size(kPanelOrder); ++place) {
    if (kPanelOrder[place] == row.id) return int(place) + 1;
  }
  return {};
}

std::string DefaultOf(const Parameter& row, const Remark& remark) {
  if (*remark.computedDefault != '\0') return remark.computedDefault;
  if (row.stored == Stored::Bool) return row.number != 0 ? "true" : "false";
  if (row.stored == Stored::Int32) return std::to_string(row.number);
  return *row.text == '\0' ? "empty" : "\"" + std::string(row.text) + "\"";
}

std::string Line(const Parameter& row, const Remark& remark) {
  const std::optional<int> place = PlaceOf(row);
  return "| " + std::to_string(row.id) + " | `" + row.name + "` | " + (place ? std::to_string(*place) : "hidden") +
         " | " + row.label + " | " + TypeOf(row.stored) + " | " + (place ? ShownAs(row) : "") + " | " +
         DefaultOf(row, remark) + " | " + remark.use + " |\n";
}

std::string Page() {
  std::string page =
      "<!-- Made by docs/parameter_reference.cpp from source/parameter_table.h. -->\n"
      "# Parameters of the effect\n\n"
      "The node keeps them in its container under these IDs. *Panel* is the place in the attribute panel, from the "
      "top.\n"
      "`quillmere panel SCENE` shows them with their values, `--set NAME=VALUE` (or `ID=VALUE`) writes "
      "`QUILLMERE_REFINE_PROMPT`\n"
      "and those of the panel but the status; settings files hold all of them.\n\n"
      "| ID | name | panel | label | stored as | shown as | default | use |\n"
      "|---|---|---|---|---|---|---|---|\n";
  for (std::size_t i = 0; i < std::size(kParameters); ++i) page += Line(kParameters[i], kRemarks[i]);
  return page;
}

int Compare(const char* file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream present;
  present << stream.rdbuf();
  if (stream && present.str() == Page()) return 0;
  std::cerr << file << " differs from the table of parameters: build the target parameter_page to write it anew\n";
  return 1;
}

}  // namespace
}  // namespace quillmere

int main(int count, char** arguments) {
  if (count == 2) return quillmere::Compare(arguments[1]);
  std::cout << quillmere::Page();
  return std::cout.flush() ? 0 : 1;
}
