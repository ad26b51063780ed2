#pragma once

#include <span>
#include <string>
#include <vector>

#include "request.h"
#include "studio.h"

namespace quillmere::studio {

// What a page with a scene may ask: the panel, guides, renders. Without one they are refused (404).
std::span<const Route> steeringRoutes();

// The job that `quillmere render` makes of these words, as the desk then has it. Throws Refused (422) for words that it
// would refuse.
Json settledJob(Studio& studio, std::vector<std::string> words);

}  // namespace quillmere::studio
