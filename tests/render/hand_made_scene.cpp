#include "hand_made_scene.h"

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <utility>

namespace quillmere::render {
namespace {

void addQuad(scene::Geometry& geometry, glm::vec3 origin, glm::vec3 right, glm::vec3 up) {
  const auto first = static_cast<std::uint32_t>(geometry.positions.size());
  for (const glm::vec2 uv : {glm::vec2(0, 1), glm::vec2(1, 1), glm::vec2(1, 0), glm::vec2(0, 0)}) {
    geometry.positions.push_back(origin + right * uv.x + up * (1.0F - uv.y));
    geometry.uvs.push_back(uv);
  }
  for (const std::uint32_t corner : {0U, 1U, 2U, 0U, 2U, 3U}) geometry.indices.push_back(first + corner);
}

glm::mat4 looking(glm::vec3 from, glm::vec3 to) {
  const glm::vec3 way = to - from;
  const glm::vec3 up = std::abs(way.y) > 0.999F * glm::length(way) ? glm::vec3(0, 0, -1) : glm::vec3(0, 1, 0);
  return glm::inverse(glm::lookAt(from, to, up));
}

}  // namespace

int HandMadeScene::addMaterial(const scene::Material& material) {
  kinds.push_back(material);
  return static_cast<int>(kinds.size()) - 1;
}

void HandMadeScene::add(std::shared_ptr<const scene::Geometry> geometry, int material, const glm::mat4& toWorld) {
  now.surfaces.push_back({std::move(geometry), toWorld, material});
}

scene::Material colored(glm::vec3 color) {
  scene::Material material;
  material.baseColor = glm::vec4(color, 1.0F);
  return material;
}

scene::Material unlit(glm::vec3 color) {
  scene::Material material = colored(color);
  material.unlit = true;
  return material;
}

scene::Material glass(glm::vec3 color, float alpha) {
  scene::Material material = colored(color);
  material.alpha = scene::Material::Alpha::Blend;
  material.baseColor.a = alpha;
  return material;
}

glm::mat4 moved(float x, float y, float z) {
  return glm::translate(glm::mat4(1.0F), glm::vec3(x, y, z));
}

std::shared_ptr<scene::Geometry> rectangle(float left, float bottom, float right, float top) {
  auto geometry = std::make_shared<scene::Geometry>();
  addQuad(*geometry, {left, bottom, 0}, {right - left, 0, 0}, {0, top - bottom, 0});
  return geometry;
}

std::shared_ptr<scene::Geometry> ground(float side) {
  auto geometry = std::make_shared<scene::Geometry>();
  addQuad(*geometry, {-0.5F * side, 0, 0.5F * side}, {side, 0, 0}, {0, 0, -side});
  return geometry;
}

std::shared_ptr<scene::Geometry> cube(float side) {
  auto geometry = std::make_shared<scene::Geometry>();
  for (int axis = 0; axis < 3; ++axis) {
    for (const float sign : {-1.0F, 1.0F}) {
      glm::vec3 right(0.0F), up(0.0F), out(0.0F);
      right[(axis + 1) % 3] = side;
      up[(axis + 2) % 3] = side * sign;
      out[axis] = 0.5F * side * sign;
      addQuad(*geometry, out - 0.5F * (right + up), right, up);
    }
  }
  return geometry;
}

std::shared_ptr<scene::Geometry> wall() {
  return rectangle(-50, -50, 50, 50);
}

std::shared_ptr<scene::Geometry> ball() {
  constexpr std::uint32_t kRound = 96, kDown = 48;
  auto ball = std::make_shared<scene::Geometry>();
  for (std::uint32_t down = 0; down <= kDown; ++down) {
    for (std::uint32_t round = 0; round <= kRound; ++round) {
      const float v = glm::pi<float>() * static_cast<float>(down) / kDown;
      const float u = glm::two_pi<float>() * static_cast<float>(round) / kRound;
      ball->positions.emplace_back(std::sin(v) * std::cos(u), std::cos(v), std::sin(v) * std::sin(u));
      const std::uint32_t at = down * (kRound + 1) + round, below = at + kRound + 1;
      if (down == kDown || round == kRound) continue;
      for (const std::uint32_t corner : {at, at + 1, below, below, at + 1, below + 1}) ball->indices.push_back(corner);
    }
  }
  ball->normals = ball->positions;
  return ball;
}

std::shared_ptr<HandMadeScene> sceneOf(const std::shared_ptr<scene::Geometry>& geometry, const glm::mat4& toWorld,
                                       const scene::Material& material) {
  auto scene = std::make_shared<HandMadeScene>();
  scene->add(geometry, scene->addMaterial(material), toWorld);
  return scene;
}

scene::Camera perspective(glm::vec3 from, glm::vec3 to, float yfov) {
  scene::Camera view;
  view.toWorld = looking(from, to);
  view.yfov = yfov;
  return view;
}

scene::Camera orthographic(glm::vec3 from, glm::vec3 to, float ymag) {
  scene::Camera view;
  view.toWorld = looking(from, to);
  view.orthographic = true;
  view.ymag = ymag;
  return view;
}

}  // namespace quillmere::render
