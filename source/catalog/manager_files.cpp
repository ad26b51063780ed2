#include "manager_files.h"

#include <cstdlib>

#include "../bridge/text.h"

namespace quillmere {

using namespace cinema;

namespace {

Filename ManagerDirectory() {
  return GetHomeDirectory() + String(".quillmere");
}

Filename StateFileIn(const Filename& directory) {
  return directory + String("state.json");
}

}  // namespace

Filename GetHomeDirectory() {
  const char* const home = std::getenv("HOME");
  return home ? Filename(FromUtf8(home)) : Filename();
}

Filename GetQuillmereStateFile() {
  return StateFileIn(ManagerDirectory());
}

Filename GetLegacyStateFile() {
  return StateFileIn(GetHomeDirectory() + String(".tallowcrest"));
}

Filename GetStateFile() {
  const Filename present = GetQuillmereStateFile();
  return GeFExist(present, false) ? present : GetLegacyStateFile();
}

Filename GetWorkflowCachePath(const String& id) {
  return ManagerDirectory() + String("workflows") + (id + ".json");
}

}  // namespace quillmere
