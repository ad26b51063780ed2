#pragma once

#include <string>

#include "effect/effect_session.h"

// Changes of the workflow list. `wanted` is the identifier, the name or the number (from 1) of an entry, in this order.
// All throw Failure and Error, with the list as it was.
namespace quillmere::app {

// The identifier stays.
void renameWorkflow(const std::string& wanted, const std::string& name, const PluginFolder& plugin);

// The workflow's file stays; where it is, standard error tells where.
void removeWorkflow(const std::string& wanted, const PluginFolder& plugin);

// `place` is the number that the entry is to have, as a user has written it.
void moveWorkflow(const std::string& wanted, const std::string& place, const PluginFolder& plugin);

}  // namespace quillmere::app
