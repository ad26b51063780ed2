#include "c4d_plugin.h"

#include "c4d_resource.h"
#include "module_path.h"

using namespace cinema;

namespace {

Bool started = false;

Int32 Start() {
  started = PluginStart();
  return started ? 1 : 0;
}

// The host also ends a module that it has refused.
void End() {
  if (started) PluginEnd();
  started = false;
  g_resource.Free();
}

}  // namespace

Int32 c4d_main(Int32 action, void* p1, void* p2, void* p3) {
  switch (action) {
    case C4DPL_INIT_SYS:
      ModulePath() = *static_cast<const Filename*>(p3);
      return 1;
    case C4DPL_INIT:
      return Start();
    case C4DPL_END:
      End();
      return 1;
    case C4DPL_MESSAGE:
      return PluginMessage(static_cast<Int32>(reinterpret_cast<intptr_t>(p1)), p2) ? 1 : -1;
    default:
      return 0;
  }
}
