#pragma once

#include <embree3/rtcore.h>

namespace quillmere::render {

// Embree's question about each hit on a filtered shape: takes out those where the surface can't be seen. The context
// of the rays must be a TraceContext.
void filterByMaterial(const RTCFilterFunctionNArguments* question);

}  // namespace quillmere::render
