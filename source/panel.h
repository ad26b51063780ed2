#pragma once

#include "c4d.h"
#include "lib_description.h"
#include "parameter_table.h"

namespace quillmere {

// Loads the node's static description and adds the panel's parameters in the panel's order, the workflow menu from the
// catalog as it is on disk now. False when the resource is missing (said on the console) or the host refuses a
// parameter; those added before stay.
bool BuildPanel(cinema::Description& description);

// The text beside a field of the given kind; parameters that the table doesn't show this way get the kind's own word.
const char* LabelOf(Field field, cinema::Int32 id);

}  // namespace quillmere
