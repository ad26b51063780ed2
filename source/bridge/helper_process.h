#pragma once

#include <string>

#include "c4d.h"

namespace quillmere {

// The text in UTF-8 as one word of a POSIX shell.
std::string ShellQuote(const cinema::String& text);

// Starts the render helper, which inherits everything from the host. Returns its process ID, not positive when there is
// no script or no process could be made.
int LaunchRenderHelper(const cinema::Filename& request, const cinema::Filename& response);

// Waits for the helper without a time limit and reports each new message of the status file. When the user stops the
// render it sends the helper signal 15 and waits for its end. True only when the helper ended by itself with exit
// status 0. The process has been reaped on return, unless the system refused to wait for it. `vps` and `settings` may
// be null; without the render's thread there is no break to see.
bool WaitForRenderHelper(int process, const cinema::Filename& status, cinema::VideoPostStruct* vps,
                         cinema::BaseContainer* settings);

}  // namespace quillmere
