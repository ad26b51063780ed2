#pragma once

#include <filesystem>

namespace quillmere::app {

// Takes away the temporary files in `folder` whose process is gone: those of AtomicFile
// (".quillmere-<process>-<n>.part") and of the helper (".<name>.<process>.part"), both of this user's. None that
// changed within the last minute: where a folder is shared the process may be another machine's. What can't be looked
// at stays.
void sweepLeftovers(const std::filesystem::path& folder);

}  // namespace quillmere::app
