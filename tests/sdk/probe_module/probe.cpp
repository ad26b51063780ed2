#include <string>

#include "c4d.h"

// A module that tells on the console what it is asked.
namespace cinema {

namespace {

constexpr Int32 kEffect = 1000001;

class Probe : public VideoPostData {
  INSTANCEOF(Probe, VideoPostData)

 public:
  static NodeData* Alloc() { return NewObjClear(Probe); }
};

}  // namespace

Bool PluginMessage(Int32 id, void* data) {
  const std::string told = "message " + std::to_string(id);
  GePrint(String(told.c_str()));
  if (id == C4DMSG_PRIORITY) SetPluginPriority(data, 1);
  return id == C4DPL_INIT_SYS ? g_resource.Init() : id == C4DMSG_PRIORITY;
}

Bool PluginStart() {
  const String name = GeLoadString(10000);
  GePrint("start " + name);
  return RegisterVideoPostPlugin(kEffect, name, PLUGINFLAG_VIDEOPOST_ISRENDERER, Probe::Alloc, "VPprobe"_s, 0, 0) &&
         name != "Refusing";
}

void PluginEnd() {
  GePrint("end"_s);
}

}  // namespace cinema
