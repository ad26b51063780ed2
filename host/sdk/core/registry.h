#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/description.h"

namespace cinema {

struct BasePlugin::Parts {
  Int32 id = 0;
  PLUGINTYPE type = PLUGINTYPE::VIDEOPOST;
  String name;
  Filename file;  // empty for a plug-in that no module file brought
  Int32 info = 0;
  DataAllocator* allocate = nullptr;
  String description;  // its name, or empty
  Int32 disklevel = 0;
  Int32 priority = 0;  // higher is called earlier
};

template <>
struct HostSide<BasePlugin> {
  using Parts = BasePlugin::Parts;
  struct End {
    void operator()(BasePlugin* plugin) const { HostSide::end(plugin); }
  };
  using Owner = std::unique_ptr<BasePlugin, End>;

  static Owner make(Parts parts);
  static void end(BasePlugin* plugin);
  static const Parts& parts(const BasePlugin& plugin) { return *plugin.parts_; }
};

}  // namespace cinema

namespace quillmere::host {

struct RegisteredDescription {
  cinema::Int32 id = 0;
  std::vector<DescriptionEntry> entries;
  std::string file;                                // of the module that brought it
  std::map<std::string, cinema::Int32> symbols{};  // the IDs that it names for those that include it
};

// The description that every effect includes, with the group for the effect's own parameters. The host brings it.
inline constexpr const char* kBaseDescriptionName = "VPbase";
inline constexpr const char* kBaseGroupName = "ID_VIDEOPOSTPROPERTIES";

// What modules have registered, and the base description.
class Registry {
 public:
  Registry();

  // False when the type has a plug-in of that ID already.
  bool add(cinema::HostSide<cinema::BasePlugin>::Parts plugin);
  cinema::BasePlugin* find(cinema::Int32 id, cinema::PLUGINTYPE type) const;  // null if there is none

  // Names are unique over all modules: false when there is one.
  bool addDescription(const std::string& name, RegisteredDescription&& description);
  const RegisteredDescription* description(const std::string& name) const;

  void removeModule(const std::string& file);  // all that this module registered

 private:
  std::vector<cinema::HostSide<cinema::BasePlugin>::Owner> plugins_;
  std::map<std::string, RegisteredDescription> descriptions_;
};

}  // namespace quillmere::host
