#include "worker_messages.h"

#include <utility>

#include "base/error.h"
#include "base/json.h"

namespace quillmere::app {
namespace {

constexpr int kDeepest = 128;

Json jsonOf(const FrameReport& report) {
  return {{"frame", report.frame},          {"camera", report.camera},   {"state", static_cast<int>(report.state)},
          {"result", report.result},        {"output", report.output},   {"guide", report.guide},
          {"error", report.error},          {"picture", report.picture}, {"seconds", report.seconds},
          {"parameters", report.parameters}};
}

FrameReport reportIn(const Json& told) {
  FrameReport report;
  report.frame = told.at("frame").get<std::int32_t>();
  report.camera = told.at("camera").get<std::string>();
  report.state = static_cast<FrameReport::State>(told.at("state").get<int>());
  report.result = told.at("result").get<int>();
  report.output = told.at("output").get<std::string>();
  report.guide = told.at("guide").get<std::string>();
  report.picture = told.at("picture").get<std::string>();
  report.error = told.at("error").get<std::string>();
  report.seconds = told.at("seconds").get<double>();
  report.parameters = told.at("parameters");
  return report;
}

Json jsonOf(const Progress& progress) {
  Json told{{"frame", progress.frame},
            {"phase", progress.phase},
            {"message", progress.message},
            {"preview", progress.preview}};
  if (progress.fraction) told["fraction"] = *progress.fraction;
  if (progress.secondsLeft) told["left"] = *progress.secondsLeft;
  if (progress.ahead) told["ahead"] = *progress.ahead;
  if (progress.steps) told.update(Json{{"step", progress.steps->done}, {"steps", progress.steps->all}});
  return told;
}

Progress progressIn(const Json& told) {
  Progress progress;
  progress.frame = told.at("frame").get<std::int32_t>();
  progress.phase = told.at("phase").get<std::string>();
  progress.message = told.at("message").get<std::string>();
  progress.preview = told.at("preview").get<std::string>();
  if (told.contains("fraction")) progress.fraction = told["fraction"].get<double>();
  if (told.contains("left")) progress.secondsLeft = told["left"].get<double>();
  if (told.contains("ahead")) progress.ahead = told["ahead"].get<std::int64_t>();
  if (told.contains("steps")) progress.steps = {told.at("step").get<std::int64_t>(), told["steps"].get<std::int64_t>()};
  return progress;
}

std::optional<Attempt> attemptIn(const Json& told) {
  Attempt attempt;
  attempt.report = reportIn(told.at("report"));
  attempt.lost = told.at("lost").get<std::string>();
  attempt.failure = static_cast<FailureKind>(told.at("failure").get<int>());
  return attempt;
}

Ending endingIn(const Json& told) {
  return {ExitStatus::Failed, told.at("error").get<std::string>(), told.at("remedy").get<std::string>()};
}

WorkerNews passOnParsed(const Json& told, Report& report) {
  const std::string kind = told.at("tells").get<std::string>();
  if (kind == "status") report.statusText(told.at("text").get<std::string>());
  if (kind == "spin") report.statusSpin(told.at("on").get<bool>());
  if (kind == "bar") report.statusBar(told.at("value").get<double>());
  if (kind == "console") report.console(told.at("text").get<std::string>());
  if (kind == "command") report.command(told.at("id").get<int>(), told.at("subid").get<int>());
  if (kind == "viewer") {
    report.pictureViewer(
        image::Image(told.at("width").get<int>(), told.at("height").get<int>(), 1, image::Sample::Byte));
  }
  if (kind == "prints") report.helperPrints(told.at("lines").get<std::string>());
  if (kind == "progress") report.progress(progressIn(told.at("progress")));
  return {kind == "ready", kind == "attempt" ? attemptIn(told) : std::nullopt,
          kind == "ending" ? std::optional(endingIn(told)) : std::nullopt};
}

}  // namespace

std::string orderLine(const Order& order) {
  return lineOf(Json{{"index", order.shot.index},
                     {"frame", order.shot.frame},
                     {"camera", order.shot.camera},
                     {"facts", order.shot.facts},
                     {"locked_style", order.lockedStyle}});
}

Order orderIn(const std::string& line) {
  try {
    const Json told = parsedJson(line, kDeepest);
    return {{told.at("index").get<std::int64_t>(), told.at("frame").get<std::int32_t>(),
             told.at("camera").get<std::string>(), told.at("facts")},
            told.at("locked_style").get<std::string>()};
  } catch (const Json::exception& error) {
    throw Error(std::string("no order: ") + error.what());
  }
}

void WorkerReport::statusText(const std::string& utf8) {
  results_.write(lineOf(Json{{"tells", "status"}, {"text", utf8}}));
}
void WorkerReport::statusSpin(bool on) {
  results_.write(lineOf(Json{{"tells", "spin"}, {"on", on}}));
}
void WorkerReport::statusBar(double fraction) {
  results_.write(lineOf(Json{{"tells", "bar"}, {"value", fraction}}));
}
void WorkerReport::console(const std::string& utf8) {
  results_.write(lineOf(Json{{"tells", "console"}, {"text", utf8}}));
}
void WorkerReport::command(int id, int subid) {
  results_.write(lineOf(Json{{"tells", "command"}, {"id", id}, {"subid", subid}}));
}
void WorkerReport::pictureViewer(const image::Image& shown) {
  results_.write(lineOf(Json{{"tells", "viewer"}, {"width", shown.width()}, {"height", shown.height()}}));
}
void WorkerReport::progress(const Progress& progress) {
  results_.write(lineOf(Json{{"tells", "progress"}, {"progress", jsonOf(progress)}}));
}
void WorkerReport::helperPrints(const std::string& lines) {
  results_.write(lineOf(Json{{"tells", "prints"}, {"lines", lines}}));
}
void WorkerReport::ready() {
  results_.write(lineOf(Json{{"tells", "ready"}}));
}
void WorkerReport::renderEnds(const Ending& ending) {
  results_.write(lineOf(Json{{"tells", "ending"}, {"error", ending.error}, {"remedy", ending.remedy}}));
}
void WorkerReport::attempted(const Attempt& attempt) {
  results_.write(lineOf(Json{{"tells", "attempt"},
                             {"report", jsonOf(attempt.report)},
                             {"lost", attempt.lost},
                             {"failure", static_cast<int>(attempt.failure)}}));
}

WorkerNews passOn(const std::string& line, Report& report) {
  try {
    return passOnParsed(parsedJson(line, kDeepest), report);
  } catch (const Json::exception& error) {
    throw Error(std::string("no message of a worker: ") + error.what());
  }
}

}  // namespace quillmere::app
