#include "c4d_plugin.h"

#include "c4d_resource.h"
#include "host_calls.h"

using namespace cinema;

namespace {

constexpr Int32 kVersion = 5;  // of this entry, as the application's SDK answers
constexpr Int32 kUnknown = -1;

}  // namespace

Int32 c4d_main(Int32 action, void* p1, void* p2, void* p3) {
  switch (action) {
    case C4DPL_INIT_SYS:
      ModulePath() = *static_cast<const Filename*>(p3);
      return 1;
    case C4DPL_INIT:
      return PluginStart() ? 1 : 0;
    case C4DPL_END:  // of a module that was refused, too
      PluginEnd();
      g_resource.Free();
      return 1;
    case C4DPL_INIT_VERSION:
      return kVersion;
    case C4DPL_MESSAGE:
      return PluginMessage(static_cast<Int32>(reinterpret_cast<intptr_t>(p1)), p2) ? 1 : -1;
    default:
      return kUnknown;
  }
}
