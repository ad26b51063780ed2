#include "scene/camera_import.h"

#include <cmath>

#include "scene/unique_names.h"

namespace quillmere::scene {
namespace {

constexpr float kWidestAngle = 3.1F;  // radians; at pi a picture would be infinitely wide

// `value` when it lies in (0, most), otherwise `fallback` with a warning that names `what`.
float positiveOr(double value, double most, float fallback, const std::string& what, Warnings& warnings) {
  if (value > 0.0 && value < most) return toFloat(value);
  warnings.add(what + " is out of range; " + std::to_string(fallback) + " is used");
  return fallback;
}

void setPerspective(const tinygltf::PerspectiveCamera& from, const std::string& name, Camera& camera,
                    Warnings& warnings) {
  camera.yfov = positiveOr(from.yfov, static_cast<double>(kWidestAngle), camera.yfov,
                           "the angle of camera '" + name + "'", warnings);
  camera.znear = positiveOr(from.znear, 1e9, camera.znear, "the near limit of camera '" + name + "'", warnings);
  if (from.zfar > from.znear) camera.zfar = toFloat(from.zfar);
}

void setOrthographic(const tinygltf::OrthographicCamera& from, const std::string& name, Camera& camera,
                     Warnings& warnings) {
  camera.orthographic = true;
  camera.ymag = positiveOr(std::abs(from.ymag), 1e9, camera.ymag, "the height of camera '" + name + "'", warnings);
  camera.znear = std::max(toFloat(from.znear), 0.0F);
  if (from.zfar > from.znear) camera.zfar = toFloat(from.zfar);
}

}  // namespace

std::vector<CameraNode> importCameras(GltfDocument& document, const NodeGraph& graph, const std::vector<bool>& moved) {
  std::vector<CameraNode> cameras;
  UniqueNames names;
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    const int index = document.model.nodes[i].camera;
    if (index < 0 || !graph.nodes[i].shown) continue;
    const auto& from = itemAt(document.model.cameras, index, "camera");
    CameraNode entry;
    entry.node = static_cast<int>(i);
    const std::string own = excerpt(from.name);
    const std::string& wanted = graph.nodes[i].name.empty() ? own : graph.nodes[i].name;
    entry.info.name = names.make(wanted.empty() ? "Camera" : wanted);
    entry.info.orthographic = from.type == "orthographic";
    entry.info.animated = moved[i];
    if (entry.info.orthographic)
      setOrthographic(from.orthographic, entry.info.name, entry.camera, document.warnings);
    else
      setPerspective(from.perspective, entry.info.name, entry.camera, document.warnings);
    cameras.push_back(std::move(entry));
  }
  return cameras;
}

glm::mat4 cameraToWorld(const glm::mat4& node) {
  const glm::vec3 back = unitOr(glm::vec3(node[2]), {0.0F, 0.0F, 1.0F});
  const glm::vec3 side = std::abs(back.y) < 0.99F ? glm::vec3(0.0F, 1.0F, 0.0F) : glm::vec3(0.0F, 0.0F, -1.0F);
  const glm::vec3 nodeUp(node[1]);
  const glm::vec3 across = nodeUp - back * glm::dot(back, nodeUp);
  // What is left of an axis that nearly lies along the view is rounding.
  const bool usable = glm::length(across) > 1e-3F * glm::length(nodeUp);
  const glm::vec3 otherUp = glm::normalize(side - back * glm::dot(back, side));
  const glm::vec3 up = usable ? unitOr(across, otherUp) : otherUp;
  glm::mat4 result(1.0F);
  result[0] = glm::vec4(glm::cross(up, back), 0.0F);
  result[1] = glm::vec4(up, 0.0F);
  result[2] = glm::vec4(back, 0.0F);
  for (glm::length_t axis = 0; axis < 3; ++axis) {
    const float at = node[3][axis];
    result[3][axis] = std::isfinite(at) ? at : 0.0F;
  }
  return result;
}

}  // namespace quillmere::scene
