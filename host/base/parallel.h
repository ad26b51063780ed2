#pragma once

#include <functional>

namespace quillmere {

enum class Outcome { Complete, Stopped };

// Calls work(i) once for every i from 0 to count - 1, in no particular order, on at most `threads` threads of the
// process' one pool, of which the calling one is the first; returns when all calls are done. `stop` may be empty; it is
// asked before each call of work, on the thread that makes it, and true ends the rest. What work or stop throws ends
// the rest as well and is thrown again here (the first of several).
Outcome forEach(int count, int threads, const std::function<bool()>& stop, const std::function<void(int)>& work);

// One per core that this process may use, or as many as can be started now where there are limits; at least 1. What
// is told first holds for the whole process: the pool never tries to start more, because it ends the process where it
// can't.
int allCores();

}  // namespace quillmere
