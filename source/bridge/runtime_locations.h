#pragma once

#include "c4d.h"

// Where the module, its helper and the files that they exchange lie.
namespace quillmere {

// The folder that holds the module; empty when the effect isn't registered.
cinema::Filename GetPluginRoot();

// The folder of the exchange files, under the host's per-user writable folder. Not made here.
cinema::Filename GetRuntimeRoot();

// The render helper's script beside the module, whether it is there or not.
cinema::Filename GetPythonHelperPath();

// <stem>.<extension> in the runtime folder, which is made if it can be.
cinema::Filename BuildRuntimeFile(const cinema::String& stem, const cinema::String& extension);

// The file that an image viewer follows.
cinema::Filename GetRenderViewStatePath();

}  // namespace quillmere
