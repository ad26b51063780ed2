#include "host_calls.h"

namespace cinema {

Bool RegisterDescription(Int32 id, const maxon::String& idstr, LocalResource* res) {
  return hostcall::AddDescription(res ? res : g_resource.Get(), id, idstr);
}

Bool RegisterVideoPostPlugin(Int32 id, const maxon::String& str, Int32 info, DataAllocator* g,
                             const maxon::String& description, Int32 disklevel, Int32 priority) {
  if (description.IsPopulated() && !RegisterDescription(id, description)) return false;
  return hostcall::AddVideoPost(id, str, info, g, description, disklevel, priority);
}

}  // namespace cinema
