#pragma once

#include "c4d_file.h"

namespace cinema {

// A registered plug-in. Belongs to the host and lives until its module is closed.
class QM_HOST_API BasePlugin {
 public:
  Filename GetFilename();  // the module's file

 private:
  struct Parts;
  explicit BasePlugin(Parts* parts);
  BasePlugin(const BasePlugin&) = delete;
  BasePlugin& operator=(const BasePlugin&) = delete;
  ~BasePlugin();
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

QM_HOST_API BasePlugin* FindPlugin(Int32 id, PLUGINTYPE type);  // null if not registered

}  // namespace cinema
