#include "framework/host_calls.h"

#include <unordered_map>

#include "base/error.h"
#include "core/application_state.h"
#include "core/text.h"
#include "module/description_loader.h"

namespace cinema {

using quillmere::Error;
using quillmere::host::ApplicationState;
using quillmere::host::applicationState;
using quillmere::host::fromUtf8;
using quillmere::host::toUtf8;

class LocalResource {
 public:
  explicit LocalResource(const Filename& name)
      : folder(quillmere::host::pathOf(name), applicationState() ? applicationState()->language : "en-US") {
    for (const auto& [id, text] : folder.texts()) texts.emplace(id, fromUtf8(text));
  }

  const quillmere::host::resource::ResourceFolder folder;
  std::unordered_map<Int32, String> texts;
};

namespace hostcall {

namespace {

// What `work` returns. What it throws is why the host refuses, and stays with the application for who opens the
// module.
template <class Work>
auto keepingRefusal(Work&& work) -> decltype(work()) {
  try {
    return work();
  } catch (const std::exception& refusal) {
    if (applicationState()) applicationState()->refusal = refusal.what();
    return {};
  }
}

}  // namespace

LocalResource* OpenResource(const Filename& folder) {
  return keepingRefusal([&] { return new LocalResource(folder); });
}

void CloseResource(LocalResource* resource) {
  delete resource;
}

const String& ResourceText(const LocalResource* resource, Int32 id) {
  static const String& none = *new String();
  if (!resource) return none;
  const auto found = resource->texts.find(id);
  return found == resource->texts.end() ? none : found->second;
}

Bool AddDescription(const LocalResource* resource, Int32 id, const maxon::String& name) {
  ApplicationState* application = applicationState();
  if (!application) return false;
  return keepingRefusal([&] {
    const std::string key = toUtf8(name);
    if (!resource) throw Error("description '" + key + "' is asked for before the resources were read");
    auto entries = quillmere::host::loadDescription(resource->folder.description(key), application->registry);
    if (!application->registry.addDescription(key, {id, std::move(entries), application->loading.string()})) {
      throw Error("a description named '" + key + "' is registered already");
    }
    return true;
  });
}

Bool AddVideoPost(Int32 id, const maxon::String& name, Int32 info, DataAllocator* allocate,
                  const maxon::String& description, Int32 disklevel, Int32 priority) {
  ApplicationState* application = applicationState();
  if (!application) return false;
  return keepingRefusal([&] {
    const std::string effect = "effect " + std::to_string(id);
    if (!allocate) throw Error(effect + " is registered without a way to make its nodes");
    HostSide<BasePlugin>::Parts plugin{id,          PLUGINTYPE::VIDEOPOST,
                                       name,        quillmere::host::filenameOf(application->loading),
                                       info,        allocate,
                                       description, disklevel,
                                       priority};
    if (!application->registry.add(std::move(plugin))) throw Error(effect + " is registered already");
    return true;
  });
}

}  // namespace hostcall

}  // namespace cinema
