#pragma once

// Almost all of the host's API. Apart stand: customgui_linkbox.h, dbasedraw.h, drendersettings.h, vpbase.h.

#include "c4d_basebitmap.h"
#include "c4d_basecontainer.h"
#include "c4d_basedocument.h"
#include "c4d_basedraw.h"
#include "c4d_baselink.h"
#include "c4d_baselist.h"
#include "c4d_baseobject.h"
#include "c4d_baseplugin.h"
#include "c4d_basetime.h"
#include "c4d_customdatatypeplugin.h"
#include "c4d_file.h"
#include "c4d_gedata.h"
#include "c4d_general.h"
#include "c4d_memory.h"
#include "c4d_nodedata.h"
#include "c4d_plugin.h"
#include "c4d_resource.h"
#include "c4d_string.h"
#include "c4d_thread.h"
#include "c4d_tools.h"
#include "c4d_videopostdata.h"
#include "ge_autoptr.h"
#include "ge_prepass.h"
#include "lib_description.h"
#include "operatingsystem.h"

// Macros of the application's headers that are not modelled. There a name of a module's own would be replaced by them,
// so here it is an error. Modules are told by their lack of exceptions: programs of this host, and their libraries
// (gmock has a ReturnNull), never meet the application's headers.
#ifndef __cpp_exceptions
#pragma GCC poison Describe DebugStop CriticalStop DebugAssert CriticalAssert DebugOutput DebugWarning
#pragma GCC poison CheckArgument CheckState TakeBase FormatString ReturnNull
#pragma GCC poison NewObj NewMem NewMemClear DeleteObj MoveMemType CopyMemType
#endif
