#pragma once

#include <spawn.h>

namespace quillmere::app {

// The process that is started has its three standard streams alone: neither a pipe that another thread is just making
// nor a connection that a library has opened without closing it in children. Linux; elsewhere it changes nothing.
inline void closeOthers(posix_spawn_file_actions_t& actions) {
#ifdef __linux__
  posix_spawn_file_actions_addclosefrom_np(&actions, 3);
#else
  static_cast<void>(actions);
#endif
}

}  // namespace quillmere::app
