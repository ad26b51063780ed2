#pragma once

namespace CLI {
class App;
}

namespace quillmere::app {

// Puts the options of `render` under headings of a few each, those that most renders need first, and its examples
// before them. An option that no heading names stays where it is.
void arrangeRenderHelp(CLI::App& render);

}  // namespace quillmere::app
