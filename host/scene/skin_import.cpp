#include "scene/skin_import.h"

#include <string>

namespace quillmere::scene {

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

}  // namespace quillmere::scene
