#include "two_sided_scene.h"

#include <glm/gtc/constants.hpp>
#include <glm/gtc/matrix_transform.hpp>

namespace quillmere::test {

TwoSidedScene::TwoSidedScene() {
  for (const glm::vec4 color : {glm::vec4(1, 0, 0, 1), glm::vec4(0, 1, 0, 1)}) {
    scene::Material material;
    material.baseColor = color;
    material.unlit = material.doubleSided = true;
    materials_.push_back(material);
  }
  wall_->positions = {{-50, -50, -5}, {50, -50, -5}, {50, 50, -5}, {-50, 50, -5}};
  wall_->indices = {0, 1, 2, 0, 2, 3};
}

scene::Moment TwoSidedScene::at(double seconds) const {
  ++poses_;
  const glm::mat4 turned = glm::rotate(glm::mat4(1.0F), glm::pi<float>(), {0, 1, 0});
  scene::Moment moment;
  if (seconds < 1.0) moment.surfaces.push_back({wall_, glm::mat4(1.0F), 0});
  moment.surfaces.push_back({wall_, turned, 1});
  moment.cameras.resize(2);
  moment.cameras[1].toWorld = turned;
  return moment;
}

}  // namespace quillmere::test
