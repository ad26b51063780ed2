#pragma once

#include "c4d_basecontainer.h"

namespace cinema {

// The properties (DESC_) that a parameter of data type `type` (DTYPE_) starts with. The container's own ID is `type`;
// it is empty for a type that the host doesn't know.
QM_HOST_API BaseContainer GetCustomDataTypeDefault(Int32 type);

}  // namespace cinema
