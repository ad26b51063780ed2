#include "event_stream.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace quillmere::app {
namespace {

using Clock = std::chrono::steady_clock;  // setting the system's clock doesn't move it

// UTC, as RFC 3339 writes it.
std::string dateOf(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  char text[32];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {text, length};
}

Json textOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

Json membersOf(const RenderPlan& plan) {
  return {{"version", kEventsVersion}, {"quillmere", QUILLMERE_VERSION},
          {"scene", plan.scene},       {"cameras", plan.cameras},
          {"frames", plan.frames},     {"count", plan.count},
          {"width", plan.size.width},  {"height", plan.size.height},
          {"output", plan.output},     {"workflow", textOrNull(plan.workflow)},
          {"settings", plan.settings}, {"warnings", plan.warnings}};
}

Json membersOf(const Progress& told, double fraction) {
  Json members{{"phase", told.phase}, {"message", told.message}, {"progress", fraction}};
  if (told.steps) members.update(Json{{"step", told.steps->done}, {"steps", told.steps->all}});
  if (told.secondsLeft) members["seconds_left"] = *told.secondsLeft;
  if (told.ahead) members["ahead"] = *told.ahead;
  if (!told.preview.empty()) members["preview"] = told.preview;
  return members;
}

Json membersOf(const FrameReport& report) {
  return {{"camera", report.camera},           {"state", wordOf(report.state)},
          {"result", report.result},           {"output", textOrNull(report.output)},
          {"guide", textOrNull(report.guide)}, {"picture", textOrNull(report.picture)},
          {"error", textOrNull(report.error)}, {"seconds", report.seconds},
          {"parameters", report.parameters}};
}

Json membersOf(const SequenceProgress& told) {
  Json members{{"count", told.count},   {"done", told.done},   {"kept", told.kept},
               {"failed", told.failed}, {"left", told.left()}, {"seconds", told.seconds}};
  if (told.secondsAFrame) members["seconds_a_frame"] = *told.secondsAFrame;
  if (told.secondsLeft) members["seconds_left"] = *told.secondsLeft;
  if (told.secondsLeft && *told.secondsLeft < 1e8) {
    const auto left = std::chrono::duration_cast<std::chrono::system_clock::duration>(
        std::chrono::duration<double>(*told.secondsLeft));
    members["ends"] = dateOf(std::chrono::system_clock::now() + left);
  }
  return members;
}

Json membersOf(const SequenceSummary& told) {
  Json failures = Json::array();
  for (const FailedFrame& one : told.failures) {
    failures.push_back({{"frame", one.frame}, {"camera", one.camera}, {"error", one.error}, {"tries", one.tries}});
  }
  return {{"missing", textOrNull(told.missing)}, {"command", textOrNull(told.command)}, {"failures", failures}};
}

class EventStream : public Report {
 public:
  explicit EventStream(Output& results) : results_(results) {}

  void renderBegins(const RenderPlan& plan) override {
    count_ = plan.count;
    Json members = membersOf(plan);
    members["started"] = dateOf(started_);
    tell("start", members);
  }
  void frameBegins(std::int32_t frame, std::int64_t /*index*/, std::int64_t /*count*/) override {
    frame_ = frame;
    fraction_ = 0;
  }
  void statusText(const std::string& utf8) override { tell("status-text", {{"text", utf8}}); }
  void statusSpin(bool on) override { tell("status-spin", {{"on", on}}); }
  void statusBar(double fraction) override { tell("status-bar", {{"value", fraction}}); }
  void console(const std::string& utf8) override { tell("console", {{"text", utf8}}); }
  void command(int id, int subid) override { tell("command", {{"id", id}, {"subid", subid}}); }
  void pictureViewer(const image::Image& shown) override {
    tell("picture-viewer", {{"width", shown.width()}, {"height", shown.height()}});
  }
  void progress(const Progress& progress) override {
    fraction_ = progress.fraction.value_or(fraction_);
    frame_ = progress.frame;
    tell("progress", membersOf(progress, fraction_));
  }
  bool wantsPreviews() const override { return true; }
  void frameEnds(const FrameReport& report) override;
  void frameFails(std::int32_t frame, const std::string& error) override {
    frame_ = frame;
    tell("retry", {{"error", error}});
  }
  void turnTo(std::int32_t frame, std::int64_t /*index*/, std::int64_t /*count*/) override { frame_ = frame; }
  void remark(std::int32_t frame, const std::string& text) override {
    frame_ = frame;
    tell("remark", {{"text", text}});
    frame_.reset();
  }
  void sequence(const SequenceProgress& progress) override {
    frame_.reset();
    tell("sequence", membersOf(progress));
  }
  void sequenceEnds(const SequenceSummary& summary) override {
    frame_.reset();
    tell("summary", membersOf(summary));
  }
  void renderEnds(const Ending& ending) override;
  bool outputLost() const override { return results_.lost(); }

 private:
  void tell(const char* name, const Json& members);

  Output& results_;
  const Clock::time_point begun_ = Clock::now();
  const std::chrono::system_clock::time_point started_ = std::chrono::system_clock::now();
  std::optional<std::int32_t> frame_;  // that is rendered now
  double fraction_ = 0;                // of it
  std::int64_t count_ = 0, done_ = 0, kept_ = 0, failed_ = 0;
};

// Milliseconds: finer ones say nothing.
double rounded(double seconds) {
  return std::round(seconds * 1000) / 1000;
}

void EventStream::frameEnds(const FrameReport& report) {
  frame_ = report.frame;
  if (report.state == FrameReport::State::Done) ++done_;
  if (report.state == FrameReport::State::Kept) ++kept_;
  if (report.state == FrameReport::State::Failed) ++failed_;
  tell("frame", membersOf(report));
  frame_.reset();
}

void EventStream::renderEnds(const Ending& ending) {
  frame_.reset();
  tell("end", {{"status", static_cast<int>(ending.status)},
               {"done", done_},
               {"kept", kept_},
               {"failed", failed_},
               {"left", count_ - done_ - kept_ - failed_},
               {"seconds", rounded(std::chrono::duration<double>(Clock::now() - begun_).count())},
               {"error", textOrNull(ending.error)},
               {"remedy", textOrNull(ending.remedy)}});
}

void EventStream::tell(const char* name, const Json& members) {
  Json event{{"event", name}, {"time", rounded(std::chrono::duration<double>(Clock::now() - begun_).count())}};
  if (frame_) event["frame"] = *frame_;
  event.update(members);
  results_.write(lineOf(event));
}

}  // namespace

const char* wordOf(FrameReport::State state) {
  switch (state) {
    case FrameReport::State::Done:
      return "done";
    case FrameReport::State::Failed:
      return "failed";
    case FrameReport::State::Stopped:
      return "stopped";
    case FrameReport::State::Kept:
      return "kept";
  }
  return "";
}

std::unique_ptr<Report> makeEventStream(Output& results) {
  return std::make_unique<EventStream>(results);
}

}  // namespace quillmere::app
