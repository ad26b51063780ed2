#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillmere::app {

// Of a workflow: its name as the helper has it, empty where that is unknown, as of a helper of another make; and how
// many servers it may use.
struct BackEnd {
  std::string name;
  std::int64_t servers = 0;
};

// How many frames are rendered at a time: `asked`, else what pays with this back end, and never more than there are
// frames. A server has one queue, so one frame ahead of all of them is enough; the embedded drawing takes a core a
// frame. Each process has a scene of its own, so those of more than one core are no more than fit into the memory that
// is free, judged by what this one takes.
int jobsFor(std::optional<int> asked, const BackEnd& backend, std::int64_t frames);

}  // namespace quillmere::app
