#include "framework/host_calls.h"

#include <unordered_map>

#include "core/running.h"
#include "core/text.h"
#include "module/description_loader.h"

using quillmere::host::fromUtf8;
using quillmere::host::running;
using quillmere::host::toUtf8;

namespace cinema {

class LocalResource {
 public:
  explicit LocalResource(const Filename& folder)
      : folder_(quillmere::host::pathOf(folder), running() ? running()->language : "en-US") {
    for (const auto& [id, text] : folder_.texts()) texts_.emplace(id, fromUtf8(text));
  }

  const quillmere::host::resource::ResourceFolder& folder() const { return folder_; }
  const String* text(Int32 id) const {
    const auto found = texts_.find(id);
    return found == texts_.end() ? nullptr : &found->second;
  }

 private:
  quillmere::host::resource::ResourceFolder folder_;
  std::unordered_map<Int32, String> texts_;
};

namespace hostcall {

namespace {

void refuse(const std::string& reason) {
  if (running()) running()->refusal = reason;
}

std::string loadingFile() {
  return running()->loading.string();
}

}  // namespace

LocalResource* OpenResource(const Filename& folder) {
  try {
    return new LocalResource(folder);
  } catch (const std::exception& failure) {
    refuse(failure.what());
    return nullptr;
  }
}

void CloseResource(LocalResource* resource) {
  delete resource;
}

const String& ResourceText(const LocalResource* resource, Int32 id) {
  static const String& none = *new String();
  const String* found = resource ? resource->text(id) : nullptr;
  return found ? *found : none;
}

Bool AddDescription(const LocalResource* resource, Int32 id, const maxon::String& name) {
  const std::string key = toUtf8(name);
  if (!running()) return false;
  if (!resource) {
    refuse("description '" + key + "' is asked for before the resources were read");
    return false;
  }
  try {
    auto& registry = running()->registry;
    auto entries = quillmere::host::loadDescription(resource->folder().description(key), registry);
    if (registry.addDescription(key, {id, std::move(entries), loadingFile()})) return true;
    refuse("a description named '" + key + "' is registered already");
  } catch (const std::exception& failure) {
    refuse(failure.what());
  }
  return false;
}

Bool AddVideoPost(Int32 id, const maxon::String& name, Int32 info, DataAllocator* allocate,
                  const maxon::String& description, Int32 disklevel, Int32 priority) {
  if (!running()) return false;
  HostSide<BasePlugin>::Parts plugin{id,          PLUGINTYPE::VIDEOPOST,
                                     name,        quillmere::host::filenameOf(running()->loading),
                                     info,        allocate,
                                     description, disklevel,
                                     priority};
  const std::string effect = "effect " + std::to_string(id);
  if (!allocate) {
    refuse(effect + " is registered without a way to make its nodes");
  } else if (!running()->registry.add(std::move(plugin))) {
    refuse(effect + " is registered already");
  } else {
    return true;
  }
  return false;
}

}  // namespace hostcall

BasePlugin* FindPlugin(Int32 id, PLUGINTYPE type) {
  return running() ? running()->registry.find(id, type) : nullptr;
}

}  // namespace cinema
