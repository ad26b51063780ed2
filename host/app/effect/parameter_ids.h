#pragma once

#include <cstdint>
#include <vector>

#include "description/vpquillmere.h"

// The parameters of the effect's node by the names that its resource gives them: QUILLMERE_… = 2000 to 2015.
namespace quillmere::app {

struct NamedParameter {
  std::int32_t id;
  const char* name;
};

// All of them, in the order of their IDs.
const std::vector<NamedParameter>& namedParameters();

}  // namespace quillmere::app
