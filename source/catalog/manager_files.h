#pragma once

#include "c4d.h"

// The workflow manager's files in the user's home directory.
namespace quillmere {

// $HOME; empty when it isn't set.
cinema::Filename GetHomeDirectory();

cinema::Filename GetQuillmereStateFile();

// Where the manager kept its state under its former name.
cinema::Filename GetLegacyStateFile();

// The state file to read: the present one if it is there, else the legacy one, which may be missing too.
cinema::Filename GetStateFile();

// The workflow's definition, whether it is there or not.
cinema::Filename GetWorkflowCachePath(const cinema::String& id);

}  // namespace quillmere
