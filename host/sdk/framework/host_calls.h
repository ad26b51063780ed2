#pragma once

#include "c4d.h"

namespace cinema {

// The module's own file, as the host told with the first call; empty before.
Filename& ModulePath();

}  // namespace cinema

// What the part of the API that is compiled into a module asks of the host.
namespace cinema::hostcall {

// Reads a resource folder. Null when it is missing or damaged; the host keeps the reason for who opens the module.
QM_HOST_API LocalResource* OpenResource(const Filename& folder);
QM_HOST_API void CloseResource(LocalResource* resource);  // null is nothing to close

// Lives as long as the resource; empty when there is no such text, or no resource.
QM_HOST_API const String& ResourceText(const LocalResource* resource, Int32 id);

// Reads the description `name` of the resource and registers it. False when it can't be.
QM_HOST_API Bool AddDescription(const LocalResource* resource, Int32 id, const maxon::String& name);

QM_HOST_API Bool AddVideoPost(Int32 id, const maxon::String& name, Int32 info, DataAllocator* allocate,
                              const maxon::String& description, Int32 disklevel, Int32 priority);

}  // namespace cinema::hostcall
