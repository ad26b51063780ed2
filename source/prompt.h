#pragma once

#include "c4d.h"

namespace quillmere {

// What a new node's system prompt says: keep the composition of the guide.
constexpr char kDefaultSystemPrompt[] =
    "Lock camera angle, framing, lens, perspective, horizon, and composition. "
    "Do not move, resize, replace, or rescale anything. "
    "Preserve all placements, spatial relationships, proportions, and depth exactly.";

cinema::String GetDefaultSystemPrompt();

// The stored system prompt and the prompt, with one space between them where neither is empty. Whether the system
// prompt may be edited at the moment makes no difference.
cinema::String ComposePrompt(const cinema::BaseContainer& settings);

}  // namespace quillmere
