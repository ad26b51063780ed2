#pragma once

#include <cstdint>

#include "description/vpquillmere.h"
#include "prompt.h"

// The node's parameters, once: what is stored under which ID, how it is shown, and its default.
namespace quillmere {

enum class Stored { Bool, Int32, Text, FileName, Link };

// The panel's ways to show a parameter.
enum class Field { None, Toggle, WorkflowMenu, CameraLink, GuideModeMenu, Text, Path, StaticText, Integer };

enum class Lines { One, Many };

struct Parameter {
  std::int32_t id;
  const char* name;  // as in the description's header
  Stored stored;
  Field field;
  const char* label;         // UTF-8
  std::int32_t number = 0;   // default of a Bool (0 or 1) or an Int32
  const char* text = "";     // default of a text, UTF-8
  Lines lines = Lines::One;  // of a text field
  std::int32_t minimum = 0;  // limits of an integer field, inclusive
  std::int32_t maximum = 0;
};

#define QUILLMERE_ID_AND_NAME(id) id, #id
// clang-format off
constexpr Parameter kParameters[] = {
    {QUILLMERE_ID_AND_NAME(QUILLMERE_UNLOCK_SYSTEM_PROMPT), Stored::Bool, Field::Toggle, "Unlock System Prompt", 0},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_SYSTEM_PROMPT), Stored::Text, Field::Text, "System Prompt", 0, kDefaultSystemPrompt, Lines::Many},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_WORKFLOW), Stored::Int32, Field::WorkflowMenu, "Workflow", 0},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_PROMPT), Stored::Text, Field::Text, "Prompt", 0, "", Lines::Many},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_REFINE_PROMPT), Stored::Text, Field::Text, "Refine Prompt", 0, "", Lines::Many},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_CAMERA), Stored::Link, Field::CameraLink, "Camera"},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_GUIDE_MODE), Stored::Int32, Field::GuideModeMenu, "Guide Mode", 0},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_WORKFLOW_PATH), Stored::Text, Field::Path, "Workflow"},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_WORKFLOW_ID), Stored::Text, Field::None, ""},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_OUTPUT_DIRECTORY), Stored::FileName, Field::Path, "Output Directory"},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_FILENAME_PREFIX), Stored::Text, Field::Text, "Filename Prefix", 0, "render"},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_HISTORY_LIMIT), Stored::Int32, Field::Integer, "History Limit", 200, "", Lines::One, 1, 5000},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_OPEN_PREVIEW_AFTER_RENDER), Stored::Bool, Field::Toggle, "Open Preview After Render", 1},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_SAVE_HISTORY_SNAPSHOTS), Stored::Bool, Field::Toggle, "Save History Snapshots", 1},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_LAST_HISTORY_ENTRY), Stored::Text, Field::StaticText, "Last History Entry"},
    {QUILLMERE_ID_AND_NAME(QUILLMERE_STATUS), Stored::Text, Field::StaticText, "Status", 0, "Idle"},
};
// clang-format on
#undef QUILLMERE_ID_AND_NAME

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
