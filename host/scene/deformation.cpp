#include "scene/deformation.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "scene/node_graph.h"

namespace quillmere::scene {
namespace {

// NaN fails the comparison, too.
float bounded(float value) {
  return std::abs(value) <= kLargestNumber ? value : 0.0F;
}

void boundPositions(Geometry& geometry) {
  for (glm::vec3& p : geometry.positions) p = {bounded(p.x), bounded(p.y), bounded(p.z)};
}

void add(std::vector<glm::vec3>& to, const std::vector<glm::vec3>& offsets, float weight) {
  for (std::size_t i = 0; i < std::min(to.size(), offsets.size()); ++i) to[i] += weight * offsets[i];
}

// Turns normals as the matrix turns planes, mirrored and unevenly scaled ones included; not of unit length.
glm::mat3 cofactors(const glm::mat4& m) {
  const glm::vec3 x(m[0]);
  const glm::vec3 y(m[1]);
  const glm::vec3 z(m[2]);
  const glm::mat3 cofactor(glm::cross(y, z), glm::cross(z, x), glm::cross(x, y));
  return glm::dot(x, cofactor[0]) < 0.0F ? -cofactor : cofactor;
}

}  // namespace

std::vector<Skin> importSkins(const GltfDocument& document, AccessorReader& reader) {
  std::vector<Skin> skins;
  for (const auto& from : document.model.skins) {
    Skin skin;
    for (const int joint : from.joints) {
      itemAt(document.model.nodes, joint, "node");
      skin.joints.push_back(joint);
    }
    if (from.inverseBindMatrices >= 0)
      skin.inverseBind = reader.mat4s(from.inverseBindMatrices);
    else
      skin.inverseBind.resize(skin.joints.size(), glm::mat4(1.0F));
    if (skin.inverseBind.size() < skin.joints.size()) {
      throw Error("skin " + std::to_string(skins.size()) + " has more joints than inverse bind matrices");
    }
    skins.push_back(std::move(skin));
  }
  return skins;
}

void checkInfluences(const MeshPart& part, const Skin& skin) {
  for (const Influence& influence : part.influences) {
    for (glm::length_t i = 0; i < 4; ++i) {
      if (influence.weights[i] > 0.0F && influence.joints[i] >= skin.joints.size()) {
        throw Error("a vertex follows joint " + std::to_string(influence.joints[i]) + " of a skin with " +
                    std::to_string(skin.joints.size()));
      }
    }
  }
}

std::vector<glm::mat4> jointMatrices(const Skin& skin, std::span<const glm::mat4> world) {
  std::vector<glm::mat4> matrices(skin.joints.size());
  for (std::size_t i = 0; i < matrices.size(); ++i) {
    matrices[i] = world[static_cast<std::size_t>(skin.joints[i])] * skin.inverseBind[i];
  }
  return matrices;
}

Geometry morphed(const MeshPart& part, std::span<const float> weights) {
  Geometry geometry = *part.geometry;
  const std::size_t count = std::min(weights.size(), part.targets.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (weights[i] == 0.0F) continue;
    add(geometry.positions, part.targets[i].positions, weights[i]);
    add(geometry.normals, part.targets[i].normals, weights[i]);
  }
  boundPositions(geometry);
  for (std::size_t i = 0; i < geometry.normals.size(); ++i) {
    geometry.normals[i] = unitOr(geometry.normals[i], part.geometry->normals[i]);
  }
  return geometry;
}

Geometry skinned(const MeshPart& part, Geometry geometry, std::span<const glm::mat4> joints) {
  std::vector<glm::mat3> normalMatrices(joints.size());
  std::transform(joints.begin(), joints.end(), normalMatrices.begin(), cofactors);
  for (std::size_t v = 0; v < geometry.positions.size(); ++v) {
    glm::mat4 matrix(0.0F);
    glm::mat3 normalMatrix(0.0F);
    for (std::size_t set = 0; set < part.influenceSets; ++set) {
      const Influence& influence = part.influences[v * part.influenceSets + set];
      for (glm::length_t i = 0; i < 4; ++i) {
        if (influence.weights[i] == 0.0F) continue;
        matrix += influence.weights[i] * joints[influence.joints[i]];
        normalMatrix += influence.weights[i] * normalMatrices[influence.joints[i]];
      }
    }
    geometry.positions[v] = glm::vec3(matrix * glm::vec4(geometry.positions[v], 1.0F));
    if (!geometry.normals.empty())
      geometry.normals[v] = unitOr(normalMatrix * geometry.normals[v], geometry.normals[v]);
  }
  boundPositions(geometry);
  return geometry;
}

}  // namespace quillmere::scene
