#pragma once

#include <glm/glm.hpp>
#include <memory>

#include "hand_made_scene.h"
#include "image/image.h"
#include "render/renderer.h"

namespace quillmere::render {

enum class Kind { Quick, Final };

// The scene as it is now; final pictures with 16 samples.
image::Image picture(const std::shared_ptr<HandMadeScene>& scene, const scene::Camera& view, int width, int height,
                     Kind kind);

// Stored values, 0-1.
glm::vec3 pixel(const image::Image& picture, int x, int y);
// The same as light of the display, averaged over the square of 2 * reach + 1 pixels around (x, y).
glm::vec3 lightAround(const image::Image& picture, int x, int y, int reach);
float brightness(glm::vec3 light);

// Straight down on 4 x 4 metres around the origin, for pictures of 64 x 64 pixels; X is to the right, Z downwards.
scene::Camera fromAbove();
inline constexpr int kPlanSide = 64;
// A final one of them.
image::Image plan(const std::shared_ptr<HandMadeScene>& scene);
// Light at a place of the ground in such a picture.
glm::vec3 lightAt(const image::Image& plan, float x, float z);

// Ground around the origin that sends 0.4 of the light back.
std::shared_ptr<HandMadeScene> greyGround();
// A spot's cone has half angles of 0.3 and 0.5 radians.
scene::Light lamp(scene::Light::Kind kind, glm::vec3 position, glm::vec3 direction);

}  // namespace quillmere::render
