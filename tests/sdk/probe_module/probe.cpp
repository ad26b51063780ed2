#include <string>

#include "c4d.h"
#include "vpbase.h"

// A module that tells on the console what it is asked, and whose effect keeps parameter 3000 in its own way.
namespace cinema {

namespace {

constexpr Int32 kEffect = 1000001;
constexpr Int32 kOwnKept = 3000;
constexpr Int32 kPlain = 3001;

class Probe : public VideoPostData {
  INSTANCEOF(Probe, VideoPostData)

 public:
  static NodeData* Alloc() { return NewObjClear(Probe); }

  Bool Init(GeListNode* node, Bool isCloneInit) override {
    if (!isCloneInit) static_cast<BaseList2D*>(node)->GetDataInstance()->SetString(kPlain, "initial"_s);
    return Get() == node;
  }

  Bool GetDDescription(const GeListNode*, Description* description, DESCFLAGS_DESC& flags) const override {
    if (!description->LoadDescription("VPprobe")) return false;
    BaseContainer properties = GetCustomDataTypeDefault(DTYPE_LONG);
    properties.SetString(DESC_NAME, "Added"_s);
    const DescID group = DescID::Create(DescLevel(ID_VIDEOPOSTPROPERTIES, DTYPE_GROUP, 0));
    if (!description->SetParameter(DescID::Create(DescLevel(kOwnKept, DTYPE_LONG, 0)), properties, group)) return false;
    flags |= DESCFLAGS_DESC::LOADED;
    return true;
  }

  Bool GetDParameter(const GeListNode* node, const DescID& id, GeData& data, DESCFLAGS_GET& flags) const override {
    if (id[0].id != kOwnKept) return SUPER::GetDParameter(node, id, data, flags);
    data = GeData(kept_ * 2);
    flags |= DESCFLAGS_GET::PARAM_GET;
    return true;
  }

  Bool SetDParameter(GeListNode* node, const DescID& id, const GeData& data, DESCFLAGS_SET& flags) override {
    if (id[0].id != kOwnKept) return SUPER::SetDParameter(node, id, data, flags);
    if (data.GetInt32() < 0) return false;
    kept_ = data.GetInt32();
    flags |= DESCFLAGS_SET::PARAM_SET;
    return true;
  }

  Bool GetDEnabling(const GeListNode* node, const DescID& id, const GeData& data, DESCFLAGS_ENABLE flags,
                    const BaseContainer* properties) const override {
    return id[0].id == kPlain ? kept_ > 0 : SUPER::GetDEnabling(node, id, data, flags, properties);
  }

 private:
  Int32 kept_ = 0;
};

}  // namespace

Bool PluginMessage(Int32 id, void* data) {
  const std::string told = "message " + std::to_string(id);
  GePrint(String(told.c_str()));
  if (id == C4DMSG_PRIORITY) SetPluginPriority(data, 1);
  return id == C4DPL_INIT_SYS ? g_resource.Init() : id == C4DMSG_PRIORITY;
}

Bool PluginStart() {
  GePrint("start " + GeLoadString(10000));
  return RegisterVideoPostPlugin(kEffect, GeLoadString(10000), PLUGINFLAG_VIDEOPOST_ISRENDERER, Probe::Alloc,
                                 "VPprobe"_s, 0, 0);
}

void PluginEnd() {
  GePrint("end"_s);
}

}  // namespace cinema
