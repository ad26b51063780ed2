#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "effect/effect_session.h"
#include "helper_check.h"
#include "values/frame_set.h"
#include "values/output_pattern.h"

// What would keep every frame of a render from being made or written, asked before the first one is begun.
namespace quillmere::app {

// What keeps files from being written in `folder`, which is called `what` and need not be there yet.
std::optional<Obstacle> obstacleToFilesIn(const std::string& what, const std::filesystem::path& folder);

// Throws Failure (usage) when a file of one of the frames can't be written where it belongs, or something else lies in
// its place. Makes the folder that all of them share.
void requireOutput(const OutputPattern& output, const FrameSet& frames);

// What the helper finds about the workflow that the node has, which findings call `workflow`. Asks it once, for half a
// minute at most and until `stop`; of a node without a workflow, whose frames the effect itself refuses, there is no
// answer. Throws Failure (usage) when the generated pictures can't be written.
WorkflowCheck lookAtWorkflow(EffectSession& session, const std::string& workflow, const std::function<bool()>& stop);

// Throws Failure (usage) when the workflow isn't there, or when the helper has found that it can't be run here and now.
// One that hasn't answered, as one of another make may, keeps nothing from being tried.
void requireRunnable(const WorkflowCheck& check);

}  // namespace quillmere::app
