#include "core/registry.h"

#include <algorithm>

#include "core/text.h"
#include "vpbase.h"

namespace cinema {

BasePlugin::BasePlugin(Parts* parts) : parts_(parts) {}
BasePlugin::~BasePlugin() {
  delete parts_;
}
Filename BasePlugin::GetFilename() {
  return parts_->file;
}

HostSide<BasePlugin>::Owner HostSide<BasePlugin>::make(Parts parts) {
  return Owner(new BasePlugin(new Parts(std::move(parts))));
}
void HostSide<BasePlugin>::end(BasePlugin* plugin) {
  delete plugin;
}

}  // namespace cinema

namespace quillmere::host {

using PluginSide = cinema::HostSide<cinema::BasePlugin>;

Registry::Registry() {
  using namespace cinema;
  BaseContainer group = GetCustomDataTypeDefault(DTYPE_GROUP);
  group.SetString(DESC_NAME, "Properties"_s);
  const DescID id = DescID::Create(DescLevel(ID_VIDEOPOSTPROPERTIES, DTYPE_GROUP, 0));
  addDescription(kBaseDescriptionName, {0, {{id, group, DescID()}}, {}, {{kBaseGroupName, ID_VIDEOPOSTPROPERTIES}}});
}

bool Registry::add(PluginSide::Parts plugin) {
  if (find(plugin.id, plugin.type)) return false;
  plugins_.push_back(PluginSide::make(std::move(plugin)));
  return true;
}

cinema::BasePlugin* Registry::find(cinema::Int32 id, cinema::PLUGINTYPE type) const {
  const auto found = std::find_if(plugins_.begin(), plugins_.end(), [&](const PluginSide::Owner& plugin) {
    return PluginSide::parts(*plugin).id == id && PluginSide::parts(*plugin).type == type;
  });
  return found == plugins_.end() ? nullptr : found->get();
}

bool Registry::addDescription(const std::string& name, RegisteredDescription&& description) {
  return descriptions_.try_emplace(name, std::move(description)).second;
}

const RegisteredDescription* Registry::description(const std::string& name) const {
  const auto found = descriptions_.find(name);
  return found == descriptions_.end() ? nullptr : &found->second;
}

void Registry::removeModule(const std::string& file) {
  std::erase_if(plugins_, [&](const PluginSide::Owner& plugin) {
    return toUtf8(PluginSide::parts(*plugin).file.GetString()) == file;
  });
  std::erase_if(descriptions_, [&](const auto& named) { return named.second.file == file; });
}

}  // namespace quillmere::host
