#include "sequence_run.h"

#include <utility>

#include "record/picture_record.h"
#include "sequence/in_turn.h"
#include "sequence/pool.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

Sequence::Facts factsFor(const SequenceRun& run) {
  return [&run](const Shot& shot) {
    lookThrough(run.session, shot.camera);
    Json facts = factsOf(run.session, run.scene, run.shown);
    facts["inputs"] = inputsOf(run.session, run.inputs);
    if (const Json& passes = run.passes.at(shot.camera); !passes.is_null()) facts["inputs"]["passes"] = passes;
    return facts;
  };
}

SequenceSummary summaryOf(const Sequence& sequence, const SequenceRun& run) {
  SequenceSummary summary{sequence.tally().progress(), sequence.tally().failures(), {}, {}};
  const std::vector<std::int32_t> missing = sequence.missing();
  if (missing.empty()) return summary;
  summary.missing = FrameSet::of(missing).text();
  OfAllFrames kept{run.shown.value("view", ""), {}};
  const Json& passes = run.passes.begin()->second;  // each camera has a range of its own
  if (run.passes.size() == 1 && passes.is_object()) kept.depthRange = passes.value("depth-range", "");
  summary.command = commandFor(run.command, summary.missing, run.plan.output.text(), kept);
  // Of several cameras, some may have these frames.
  if (run.plan.cameras.size() > 1 && !run.options.resume) summary.command += " --resume";
  return summary;
}

void render(Sequence& sequence, const SequenceRun& run, ToldOnce& told, LoggedReport& logged, SequenceLog& log,
            const std::function<bool()>& stop) {
  const int jobs = jobsFor(run.options.jobs, run.backend, sequence.plan().count());
  if (jobs == 1) {
    HelperOutput output;
    FrameLoop loop(run.session, run.content, run.frames, told);
    const auto here = [&loop](const Shot& shot, const auto& end) { return loop.render(shot, end); };
    return renderInTurn(sequence, listening(here, output, logged), logged, stop);
  }
  const FrameLoop loop(run.session, run.content, run.frames, told);
  const Json pictures = run.session.node().stored(QUILLMERE_OUTPUT_DIRECTORY);
  const Workers workers{jobs,
                        workerArguments(run.command, run.session.plugin().path.string(),
                                        pictures.is_string() ? pictures.get<std::string>() : ""),
                        run.frames.writeDirectory, run.reader};
  renderSideBySide(sequence, workers, run.shared, log, stop);
}

}  // namespace

fs::path logFileOf(const SequenceOptions& options, const SequencePlan& plan) {
  if (options.log) return *options.log;
  return plan.count() > 1 ? plan.output.logFile() : fs::path();
}

ExitStatus renderSequence(const SequenceRun& run, ToldOnce& told, LoggedReport& logged, SequenceLog& log,
                          const std::function<bool()>& stop) {
  if (const fs::path file = logFileOf(run.options, run.plan); !file.empty()) log.open(file);
  log.add("", "render of '" + run.scene.string() + "' begins: frames " + run.plan.frames.text() + ", " +
                  std::to_string(run.plan.count()) + " pictures as '" + run.plan.output.text() + "'");
  Sequence sequence(run.plan, factsFor(run), logged, run.beforeFirst);
  render(sequence, run, told, logged, log, stop);
  if (run.plan.count() > 1) logged.sequenceEnds(summaryOf(sequence, run));
  const bool complete = sequence.tally().complete();
  log.add("", complete ? "render ends, all pictures are whole" : "render ends, pictures are missing");
  return complete ? ExitStatus::Done : ExitStatus::Failed;
}

}  // namespace quillmere::app
