#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "effect/effect_session.h"

namespace quillmere::app {

// Lets every helper that this process starts from now on keep in its pictures what only the host knows: scene, camera,
// prompts, guide mode, frame rate, workflow ID, version. They stand in a file of `folder` (made where it is missing)
// that an environment variable names: set only while no other thread reads the environment. Throws Error.
void tellHelper(EffectSession& session, const std::filesystem::path& scene, int fps,
                const std::filesystem::path& folder);

// Every helper that this process starts from now on makes its pictures with this seed. As above.
void tellSeed(std::uint64_t seed);

// Every helper that this process starts from now on follows the style of this picture instead of the one that is
// locked; of none, when it is empty. As above.
void tellStyle(const std::string& picture);

}  // namespace quillmere::app
