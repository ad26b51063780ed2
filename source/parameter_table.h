#pragma once

#include <cstdint>

#include "../res/description/vpquillmere.h"
#include "prompt.h"

// The node's parameters, once: what is stored under which ID, how it is shown, and its default.
namespace quillmere {

enum class Stored { Bool, Int32, Text, FileName, Link };

// The panel's ways to show a parameter.
enum class Field {
  None,
  Toggle,
  WorkflowMenu,
  CameraLink,
  GuideModeMenu,
  TextLine,
  TextArea,
  Path,
  StaticText,
  Integer
};

struct Parameter {
  const char* name;  // as in the description's header
  std::int32_t id;
  Stored stored;
  Field field;
  std::int32_t number;       // default of a Bool (0 or 1) or an Int32
  const char* label;         // UTF-8
  const char* text = "";     // default of a text, UTF-8
  std::int32_t minimum = 0;  // limits of an integer field, inclusive
  std::int32_t maximum = 0;
};

#define QUILLMERE_ROW(id) #id, id
constexpr Parameter kParameters[] = {
    {QUILLMERE_ROW(QUILLMERE_UNLOCK_SYSTEM_PROMPT), Stored::Bool, Field::Toggle, 0, "Unlock System Prompt"},
    {QUILLMERE_ROW(QUILLMERE_SYSTEM_PROMPT), Stored::Text, Field::TextArea, 0, "System Prompt", kDefaultSystemPrompt},
    {QUILLMERE_ROW(QUILLMERE_WORKFLOW), Stored::Int32, Field::WorkflowMenu, 0, "Workflow"},
    {QUILLMERE_ROW(QUILLMERE_PROMPT), Stored::Text, Field::TextArea, 0, "Prompt"},
    {QUILLMERE_ROW(QUILLMERE_REFINE_PROMPT), Stored::Text, Field::TextArea, 0, "Refine Prompt"},
    {QUILLMERE_ROW(QUILLMERE_CAMERA), Stored::Link, Field::CameraLink, 0, "Camera"},
    {QUILLMERE_ROW(QUILLMERE_GUIDE_MODE), Stored::Int32, Field::GuideModeMenu, 0, "Guide Mode"},
    {QUILLMERE_ROW(QUILLMERE_WORKFLOW_PATH), Stored::Text, Field::Path, 0, "Workflow"},
    {QUILLMERE_ROW(QUILLMERE_WORKFLOW_ID), Stored::Text, Field::None, 0, ""},
    {QUILLMERE_ROW(QUILLMERE_OUTPUT_DIRECTORY), Stored::FileName, Field::Path, 0, "Output Directory"},
    {QUILLMERE_ROW(QUILLMERE_FILENAME_PREFIX), Stored::Text, Field::TextLine, 0, "Filename Prefix", "render"},
    {QUILLMERE_ROW(QUILLMERE_HISTORY_LIMIT), Stored::Int32, Field::Integer, 200, "History Limit", "", 1, 5000},
    {QUILLMERE_ROW(QUILLMERE_OPEN_PREVIEW_AFTER_RENDER), Stored::Bool, Field::Toggle, 1, "Open Preview After Render"},
    {QUILLMERE_ROW(QUILLMERE_SAVE_HISTORY_SNAPSHOTS), Stored::Bool, Field::Toggle, 1, "Save History Snapshots"},
    {QUILLMERE_ROW(QUILLMERE_LAST_HISTORY_ENTRY), Stored::Text, Field::StaticText, 0, "Last History Entry"},
    {QUILLMERE_ROW(QUILLMERE_STATUS), Stored::Text, Field::StaticText, 0, "Status", "Idle"},
};
#undef QUILLMERE_ROW

// The parameters that a new node writes from the table, in the order of writing. The output directory is built from the
// host's folders and the three workflow parameters from the catalog, after these; the camera has no default.
constexpr std::int32_t kDefaultsOrder[] = {QUILLMERE_UNLOCK_SYSTEM_PROMPT,
                                           QUILLMERE_SYSTEM_PROMPT,
                                           QUILLMERE_PROMPT,
                                           QUILLMERE_REFINE_PROMPT,
                                           QUILLMERE_FILENAME_PREFIX,
                                           QUILLMERE_STATUS,
                                           QUILLMERE_GUIDE_MODE,
                                           QUILLMERE_HISTORY_LIMIT,
                                           QUILLMERE_OPEN_PREVIEW_AFTER_RENDER,
                                           QUILLMERE_SAVE_HISTORY_SNAPSHOTS,
                                           QUILLMERE_LAST_HISTORY_ENTRY};

// The parameters that the attribute panel shows, from the top.
constexpr std::int32_t kPanelOrder[] = {QUILLMERE_UNLOCK_SYSTEM_PROMPT,
                                        QUILLMERE_WORKFLOW,
                                        QUILLMERE_CAMERA,
                                        QUILLMERE_GUIDE_MODE,
                                        QUILLMERE_SYSTEM_PROMPT,
                                        QUILLMERE_PROMPT,
                                        QUILLMERE_OUTPUT_DIRECTORY,
                                        QUILLMERE_FILENAME_PREFIX,
                                        QUILLMERE_STATUS,
                                        QUILLMERE_HISTORY_LIMIT,
                                        QUILLMERE_OPEN_PREVIEW_AFTER_RENDER,
                                        QUILLMERE_SAVE_HISTORY_SNAPSHOTS};

// The row of an ID that the table holds.
constexpr const Parameter& ParameterOf(std::int32_t id) {
  return kParameters[id - QUILLMERE_UNLOCK_SYSTEM_PROMPT];
}

constexpr bool RowsStandInOrderOfTheirIds() {
  std::int32_t id = QUILLMERE_UNLOCK_SYSTEM_PROMPT;
  for (const Parameter& row : kParameters) {
    if (row.id != id++) return false;
  }
  return id == QUILLMERE_STATUS + 1;
}
static_assert(RowsStandInOrderOfTheirIds(), "ParameterOf finds a row by its ID");

}  // namespace quillmere
