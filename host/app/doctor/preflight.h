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

// Throws Failure (usage) when the generated pictures can't be written, when the workflow that the node has isn't there,
// or when the helper finds that it can't be run here and now; messages name it by `workflow`. Asks the helper once, for
// half a minute at most and until `stop`; one that doesn't answer, as one of another make may, keeps nothing from being
// tried. Returns its answer; of a node without a workflow, whose frames the effect itself refuses, there is none.
WorkflowCheck requireWorkflow(EffectSession& session, const std::string& workflow, const std::function<bool()>& stop);

}  // namespace quillmere::app
