#pragma once

#include <functional>
#include <map>
#include <string>

#include "effect/effect_session.h"
#include "frame_loop.h"
#include "record/inputs.h"
#include "sequence/jobs.h"
#include "sequence/log.h"
#include "sequence_options.h"

namespace quillmere::app {

// A sequence that is ready to be rendered: the effect's node is set up, the files can be written.
struct SequenceRun {
  EffectSession& session;
  const FramePlan& frames;
  SequencePlan plan;
  const SequenceOptions& options;
  const CLI::App& command;             // that asked for it
  RenderInputs inputs;                 // of all frames
  std::map<std::string, Json> passes;  // of each camera: PassOrder
  const scene::Scene& content;         // the session's
  std::filesystem::path scene;         // file
  Json shown;                          // what a picture's record keeps of how the scene is shown
  BackEnd backend;                     // of the workflow, as far as the helper has told
  std::function<void()> beforeFirst;   // throws Failure when nothing can be rendered
  Report& shared;                      // of frames that are rendered side by side
  ToldOnce::Reader reader = ToldOnce::Reader::Person;
};

// Where `render` keeps its log; empty for nowhere.
std::filesystem::path logFileOf(const SequenceOptions& options, const SequencePlan& plan);

// Renders what is to be rendered, here or in processes below this one, until `stop` says true, and tells how it went.
// `told` is the report of frames that are rendered here, `logged` the one before it that keeps the log. Failed when a
// picture is missing.
ExitStatus renderSequence(const SequenceRun& run, ToldOnce& told, LoggedReport& logged, SequenceLog& log,
                          const std::function<bool()>& stop);

}  // namespace quillmere::app
