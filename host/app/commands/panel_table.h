#pragma once

#include <string>

#include "panel_rows.h"

namespace quillmere::app {

// The panel as lines of a terminal: group by group the ID, the label and the value, which may go on in the lines below
// it; menus and links list their choices with * before the chosen one.
std::string panelTable(const std::vector<PanelRow>& rows);

// One object for each row.
nlohmann::ordered_json panelJson(const std::vector<PanelRow>& rows);

}  // namespace quillmere::app
