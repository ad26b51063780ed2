#pragma once

#include "c4d.h"

namespace quillmere {

// Where everything that the module writes of its own accord lies: quillmere/c4d under the host's per-user writable
// folder. Not made here.
cinema::Filename GetDataDirectory();

}  // namespace quillmere
