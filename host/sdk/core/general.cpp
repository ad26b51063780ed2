#include "c4d_general.h"

#include "core/running.h"
#include "core/text.h"

namespace cinema {

void GePrint(const maxon::String& str) {
  if (auto* application = quillmere::host::running()) application->events.console(quillmere::host::toUtf8(str));
}

void CallCommand(Int32 id, Int32 subid) {
  if (auto* application = quillmere::host::running()) application->events.command(id, subid);
}

}  // namespace cinema
