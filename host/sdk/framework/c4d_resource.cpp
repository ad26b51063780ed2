#include "c4d_resource.h"

#include "host_calls.h"
#include "module_path.h"

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

}  // namespace cinema
