#include "c4d.h"
#include "quillmere_videopost.h"

// What the host calls: first the two messages, then the start.
namespace cinema {

Bool PluginStart() {
  return quillmere::RegisterQuillmereVideoPost();
}

void PluginEnd() {}

Bool PluginMessage(Int32 id, void* data) {
  switch (id) {
    case C4DMSG_PRIORITY:
      *static_cast<Int32*>(data) = 1;
      return true;
    case C4DPL_INIT_SYS:
      return g_resource.Init();
    default:
      return false;
  }
}

}  // namespace cinema
