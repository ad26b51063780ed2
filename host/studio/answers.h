#pragma once

#include <span>
#include <vector>

#include "request.h"
#include "studio.h"

namespace quillmere::studio {

// All but the stream of events.
std::vector<std::span<const Route>> routes();
// What can't be answered becomes a refusal with its reason.
Answer answerOf(const Route& route, Studio& studio, const Request& request);

}  // namespace quillmere::studio
