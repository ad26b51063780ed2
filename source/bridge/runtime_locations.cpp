#include "runtime_locations.h"

#include "../data_directory.h"
#include "../history/history_snapshots.h"
#include "../plugin_id.h"
#include "text.h"

namespace quillmere {

using namespace cinema;

Filename GetPluginRoot() {
  BasePlugin* plugin = FindPlugin(kPluginId, PLUGINTYPE::VIDEOPOST);
  return plugin ? Filename(plugin->GetFilename().GetDirectory()) : Filename();
}

Filename GetRuntimeRoot() {
  return GetDataDirectory() + String("runtime");
}

Filename GetPythonHelperPath() {
  return GetPluginRoot() + String("python") + String("quillmere_render_helper.py");
}

Filename BuildRuntimeFile(const String& stem, const String& extension) {
  const Filename directory = GetRuntimeRoot();
  QuillmereHistory::EnsureDirectory(directory);
  return directory + FromUtf8(ToUtf8(stem) + "." + ToUtf8(extension));
}

Filename GetRenderViewStatePath() {
  return BuildRuntimeFile(String("render_view_state"), String("json"));
}

}  // namespace quillmere
