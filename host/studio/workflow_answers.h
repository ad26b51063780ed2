#pragma once

#include <span>

#include "request.h"

namespace quillmere::studio {

// The workflow list and the doctor, as the commands `workflows` and `doctor` have them. At most two such commands run
// at a time; who asks for more waits.
std::span<const Route> workflowRoutes();

}  // namespace quillmere::studio
