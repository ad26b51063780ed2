#include "core/application_state.h"

#include "core/description.h"
#include "core/text.h"

namespace quillmere::host {

namespace {

ApplicationState* theState = nullptr;

}  // namespace

ApplicationState* applicationState() {
  return theState;
}
void setApplicationState(ApplicationState* state) {
  theState = state;
}

Events& events() {
  static Events nobody;
  return theState ? theState->events : nobody;
}

}  // namespace quillmere::host

namespace cinema {

using quillmere::host::applicationState;
using quillmere::host::events;
using quillmere::host::toUtf8;

void GePrint(const maxon::String& str) {
  events().console(toUtf8(str));
}

void CallCommand(Int32 id, Int32 subid) {
  events().command(id, subid);
}

const Filename GeGetC4DPath(Int32 whichpath) {
  if (whichpath != C4D_PATH_STARTUPWRITE || !applicationState()) return Filename();
  return quillmere::host::filenameOf(applicationState()->writeDirectory);
}

const Filename GeGetStartupWritePath() {
  return GeGetC4DPath(C4D_PATH_STARTUPWRITE);
}

BasePlugin* FindPlugin(Int32 id, PLUGINTYPE type) {
  return applicationState() ? applicationState()->registry.find(id, type) : nullptr;
}

Bool Description::LoadDescription(const String& id) {
  const auto* found = applicationState() ? applicationState()->registry.description(toUtf8(id)) : nullptr;
  parts_->entries.clear();
  if (found) parts_->entries = found->entries;
  return found != nullptr;
}

}  // namespace cinema
