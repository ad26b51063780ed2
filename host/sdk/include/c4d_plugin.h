#pragma once

#include "ge_prepass.h"

namespace cinema {

// What a module writes. PluginMessage answers false to what it doesn't know; false to C4DPL_INIT_SYS, or to
// PluginStart, makes the host refuse the module.
Bool PluginStart();
void PluginEnd();
Bool PluginMessage(Int32 id, void* data);

#define C4DMSG_PRIORITY 0
#define C4DPL_ERROR (-1)
#define C4DPL_INIT_PRIORITY_PLUGINS 0
#define C4DPL_INIT_SYS 1
#define C4DPL_INIT 2
#define C4DPL_END 3
#define C4DPL_INIT_VERSION 4
#define C4DPL_MESSAGE 6
#define C4DPL_STARTACTIVITY 1000
#define C4DPL_ENDACTIVITY 1001
#define C4DPL_COMMANDLINEARGS 1002
#define C4DPL_BUILDMENU 1001188
#define C4DPL_PROGRAM_STARTED 450000215

}  // namespace cinema

// The answer to C4DMSG_PRIORITY: `data` points to the Int32 that receives it.
#define SetPluginPriority(data, i) (*static_cast<::cinema::Int32*>(data) = (i))

// The one symbol that a module exports, compiled into it. `action`: C4DPL_INIT_SYS with the module's file name (const
// Filename*) in p3; C4DPL_MESSAGE with the message in p1 and its data in p2, answered with 1 or -1; C4DPL_INIT,
// answered with 1 or 0; C4DPL_END, whatever the others were answered with; C4DPL_INIT_VERSION, answered with 5. Any
// other is answered with -1.
extern "C" QM_HOST_API cinema::Int32 c4d_main(cinema::Int32 action, void* p1, void* p2, void* p3);
