#include "scene/light_import.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace quillmere::scene {
namespace {

std::optional<Light::Kind> kindNamed(const std::string& name) {
  if (name == "directional") return Light::Kind::Directional;
  if (name == "point") return Light::Kind::Point;
  if (name == "spot") return Light::Kind::Spot;
  return std::nullopt;
}

Light importLight(const tinygltf::Light& from, Light::Kind kind) {
  Light light;
  light.kind = kind;
  const float intensity = std::max(toFloat(from.intensity), 0.0F);
  for (glm::length_t i = 0; i < 3; ++i) {
    const double share = from.color.size() == 3 ? from.color[static_cast<std::size_t>(i)] : 1.0;
    light.color[i] = std::max(toFloat(share), 0.0F) * intensity;
  }
  light.range = std::max(toFloat(from.range), 0.0F);
  constexpr float kRightAngle = 1.5707963F;
  light.outerCone = std::clamp(toFloat(from.spot.outerConeAngle), 1e-3F, kRightAngle);
  light.innerCone = std::clamp(toFloat(from.spot.innerConeAngle), 0.0F, light.outerCone);
  return light;
}

}  // namespace

std::vector<LightNode> importLights(GltfDocument& document, const NodeGraph& graph) {
  std::vector<LightNode> lights;
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    const int index = extensionIndex(document.model.nodes[i].extensions, "KHR_lights_punctual", "light").value_or(-1);
    if (index < 0 || !graph.nodes[i].shown) continue;
    const auto& from = itemAt(document.model.lights, index, "light");
    const auto kind = kindNamed(from.type);
    if (kind)
      lights.push_back({static_cast<int>(i), importLight(from, *kind)});
    else
      document.warnings.add("lights of the kind '" + from.type + "' are not supported");
  }
  return lights;
}

Light lightInWorld(const Light& light, const glm::mat4& toWorld) {
  Light placed = light;
  placed.position = glm::vec3(toWorld[3]);
  placed.direction = unitOr(-glm::vec3(toWorld[2]), light.direction);
  return placed;
}

}  // namespace quillmere::scene
