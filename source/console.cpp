#include "console.h"

namespace quillmere {

void PrintLine(const cinema::String& text) {
  cinema::GePrint("[Quillmere Renderer] " + text);
}

}  // namespace quillmere
