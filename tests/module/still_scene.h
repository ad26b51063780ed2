#pragma once

#include "render/hand_made_scene.h"

namespace quillmere {

// Nothing to see, through the cameras "Front" and "Side".
struct StillScene : render::HandMadeScene {
  StillScene() {
    views = {{"Front"}, {"Side"}};
    now.cameras.resize(2);
  }
};

}  // namespace quillmere
