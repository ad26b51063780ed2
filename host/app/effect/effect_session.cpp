#include "effect_session.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "files/manager_folder.h"
#include "process/worker_process.h"
#include "values/effect_facts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// Seen from the folder of this program: in the build tree, where installed.
constexpr std::array<const char*, 2> kBesideProgram{"../plugin/quillmere", "../lib/quillmere/plugin/quillmere"};

// For asking the effect what it offers without a scene at hand.
class EmptyScene : public scene::Scene {
 public:
  const std::vector<scene::CameraInfo>& cameras() const override { return cameras_; }
  const std::vector<scene::Material>& materials() const override { return materials_; }
  const std::vector<std::string>& warnings() const override { return warnings_; }
  double duration() const override { return 0; }
  scene::Snapshot at(double /*seconds*/) const override { return {}; }

 private:
  std::vector<scene::CameraInfo> cameras_;
  std::vector<scene::Material> materials_{scene::Material{}};
  std::vector<std::string> warnings_;
};

std::shared_ptr<const scene::Scene> sceneOf(const fs::path& file) {
  if (file.empty()) return std::make_shared<EmptyScene>();
  return scene::load(file);
}

}  // namespace

fs::path programFolder() {
  return thisProgram().parent_path();
}

fs::path PluginFolder::helper() const {
  return path / "python" / "quillmere_render_helper.py";
}

fs::path PluginFolder::exampleWorkflow() const {
  return path / "python" / "workflows" / "ink_wash.json";
}

PluginFolder pluginFolder(const fs::path& given) {
  std::error_code error;
  if (!given.empty()) return {fs::absolute(given, error).lexically_normal()};
  const fs::path beside = programFolder();
  for (const char* candidate : kBesideProgram) {
    const fs::path folder = (beside / candidate).lexically_normal();
    if (fs::is_directory(folder, error)) return {folder};
  }
  return {(beside / kBesideProgram.front()).lexically_normal()};
}

EffectSession::Application::Application(const fs::path& writeDirectory, const PluginFolder& plugin,
                                        host::Events& events)
    : host::Application(writeDirectory, events) {
  refuse(stateObstacle());
  loadPlugin(plugin.path);
}

EffectSession::EffectSession(const fs::path& writeDirectory, PluginFolder plugin, host::Events& events,
                             const fs::path& scene)
    : EffectSession(writeDirectory, std::move(plugin), events, sceneOf(scene), scene) {}

EffectSession::EffectSession(const fs::path& writeDirectory, PluginFolder plugin, host::Events& events,
                             std::shared_ptr<const scene::Scene> scene, const fs::path& file)
    : plugin_(std::move(plugin)),
      application_(writeDirectory, plugin_, events),
      document_(scene ? std::move(scene) : sceneOf({}), file),
      node_(document_, document_.addVideoPost(kEffectId), parameterNames(plugin_.path)) {}

}  // namespace quillmere::app
