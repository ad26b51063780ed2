#include "effect_session.h"

#include <memory>
#include <utility>
#include <vector>

#include "files/manager_folder.h"

namespace quillmere::app {
namespace {

constexpr int kEffect = 1060500;  // the plug-in ID under which the module registers it

// Nothing to see: for asking the effect what it offers without a scene at hand.
class EmptyScene : public scene::Scene {
 public:
  const std::vector<scene::CameraInfo>& cameras() const override { return cameras_; }
  const std::vector<scene::Material>& materials() const override { return materials_; }
  const std::vector<std::string>& warnings() const override { return warnings_; }
  double duration() const override { return 0; }
  scene::Moment at(double /*seconds*/) const override { return {}; }

 private:
  std::vector<scene::CameraInfo> cameras_;
  std::vector<scene::Material> materials_{scene::Material{}};
  std::vector<std::string> warnings_;
};

}  // namespace

EffectSession::Application::Application(const std::filesystem::path& writeDirectory, const PluginFolder& plugin,
                                        host::Events& events)
    : host::Application(writeDirectory, events) {
  refuse(stateObstacle());
  loadPlugin(plugin.path);
}

EffectSession::EffectSession(const std::filesystem::path& writeDirectory, PluginFolder plugin,
                             const std::filesystem::path& scene, host::Events& events)
    : plugin_(std::move(plugin)),
      application_(writeDirectory, plugin_, events),
      document_(scene),
      node_(document_, document_.addVideoPost(kEffect), namedParameters(plugin_)) {}

EffectSession::EffectSession(const std::filesystem::path& writeDirectory, PluginFolder plugin, host::Events& events)
    : plugin_(std::move(plugin)),
      application_(writeDirectory, plugin_, events),
      document_(std::make_shared<EmptyScene>()),
      node_(document_, document_.addVideoPost(kEffect), namedParameters(plugin_)) {}

}  // namespace quillmere::app
