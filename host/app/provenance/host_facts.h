#pragma once

#include <cstdint>

#include "effect/effect_session.h"
#include "options/scene_options.h"

namespace quillmere::app {

// Lets every helper that this process starts from now on keep in its pictures what only the host knows: scene, camera,
// prompts, guide mode, frame rate, workflow ID, version. Only while no other thread reads the environment.
void tellHelper(EffectSession& session, const SceneOptions& scene);

// Every helper that this process starts from now on makes its pictures with this seed. As above.
void tellSeed(std::uint64_t seed);

}  // namespace quillmere::app
