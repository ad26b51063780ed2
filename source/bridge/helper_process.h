#pragma once

#include <string>

#include "c4d.h"

namespace quillmere {

// The text in UTF-8 as one word of a POSIX shell.
std::string ShellQuote(const cinema::String& text);

// Starts the render helper, which inherits everything from the host. Returns its process ID, not positive when there is
// no script or no process could be made.
int LaunchRenderHelper(const cinema::Filename& request, const cinema::Filename& response);

// Waits for the process without a time limit and reports each new message of the status file. When the user stops the
// render it sends the process signal 15, once, and waits for its end. On systems whose shell becomes the helper that is
// the helper; where the shell stays between, it is the shell alone, and the helper isn't told. True only when the
// process ended by itself with exit status 0. It has been reaped on return, unless the system refused to wait for it.
// `vps` and `settings` may be null; without the render's thread there is no break to see.
bool WaitForRenderHelper(int process, const cinema::Filename& status, cinema::VideoPostStruct* vps,
                         cinema::BaseContainer* settings);

}  // namespace quillmere
