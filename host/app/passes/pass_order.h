#pragma once

#include "pass_settings.h"
#include "pass_wish.h"

namespace quillmere::app {

// The passes that are drawn beside the guides of one camera, and how.
struct PassOrder {
  PassWish wish;
  PassSettings settings;
};

// As one value, which another process is told and a picture's record keeps among what has made it; null when no pass is
// wished for.
Json jsonOf(const PassOrder& order);
// Throws Failure for what jsonOf can't have made; null is an order of nothing.
PassOrder passOrderIn(const Json& told);

}  // namespace quillmere::app
