#include "c4d_resource.h"

#include "host_calls.h"

namespace cinema {

GeResource g_resource;

Filename& ModulePath() {
  static Filename path;
  return path;
}

const Filename GeGetPluginPath() {
  return ModulePath().GetDirectory();
}

Bool GeResource::Init() {
  return Init(GeGetPluginPath() + "res");
}

Bool GeResource::Init(const Filename& path, Bool) {
  if (!asked_) resource_ = hostcall::OpenResource(path);
  asked_ = true;
  return resource_ != nullptr;
}

void GeResource::Free() {
  hostcall::CloseResource(resource_);
  resource_ = nullptr;
}

LocalResource* GeResource::Get() {
  return resource_;
}

const String& GeLoadString(Int32 id) {
  return hostcall::ResourceText(g_resource.Get(), id);
}

Bool RegisterDescription(Int32 id, const maxon::String& idstr, LocalResource* res) {
  return hostcall::AddDescription(res ? res : g_resource.Get(), id, idstr);
}

Bool RegisterVideoPostPlugin(Int32 id, const maxon::String& str, Int32 info, DataAllocator* g,
                             const maxon::String& description, Int32 disklevel, Int32 priority) {
  if (description.IsPopulated() && !RegisterDescription(id, description)) return false;
  return hostcall::AddVideoPost(id, str, info, g, description, disklevel, priority);
}

}  // namespace cinema
