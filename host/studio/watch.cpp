#include "watch.h"

#include <chrono>

#include "files/exchange_files.h"
#include "view_state.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kPause{40};
constexpr unsigned kRoundsPerHistory = 10;   // what it costs to look through many folders is spread
constexpr unsigned kRoundsAfterRender = 50;  // the entry is written after the view state
constexpr std::size_t kRecordsAtOnce = 25;
constexpr std::chrono::milliseconds kReading{30};  // of records in a round, so that what changes is told soon

std::vector<fs::path> withWriteDirectory(const fs::path& writeDirectory, std::vector<fs::path> folders) {
  folders.push_back(app::exchangeFolder(writeDirectory));
  return folders;
}

}  // namespace

Watch::Watch(fs::path writeDirectory, const std::vector<fs::path>& folders)
    : writeDirectory_(std::move(writeDirectory)),
      shelf_(withWriteDirectory(writeDirectory_, folders)),
      marks_(studioFolder() / "marks.json"),
      ownership_(studioFolder()),
      history_(writeDirectory_, shelf_, marks_),
      frames_(writeDirectory_, shelf_),
      thumbnails_(studioFolder() / "thumbnails") {
  owner_ = ownership_.mine();
  frames_.refresh();
  viewStamp_ = stampOf(app::viewStateFile(writeDirectory_));
  thread_ = std::thread([this] { lookUntilEnd(); });
}

Watch::~Watch() {
  ended_ = true;
  hub_.close();
  thread_.join();
}

fs::path Watch::studioFolder() const {
  return app::exchangeFolder(writeDirectory_) / "studio";
}

Json Watch::view() {
  const ViewState state = viewStateIn(writeDirectory_).value_or(ViewState{});
  return {{"last", shelf_.cardOf(state.last)},
          {"selected", shelf_.cardOf(state.selected)},
          {"locked_style", shelf_.cardOf(state.lockedStyle)},
          {"guide", shelf_.cardOf(state.guide)},
          {"status", state.status},
          {"document", fs::path(state.history).filename().string()}};
}

Json Watch::state() {
  Json state{
      {"version", 1}, {"write_directory", writeDirectory_.string()}, {"view", view()}, {"frames", frames_.told()}};
  state.update(owner());
  return state;
}

Json Watch::owner() {
  return {{"owner", ownership_.mine()}, {"other_owner", ownership_.other()}};
}

void Watch::look(unsigned round) {
  const std::string stamp = stampOf(app::viewStateFile(writeDirectory_));
  // While the effect writes the file in place, it holds nothing that can be read.
  if (stamp != viewStamp_ && (stamp.empty() || viewStateIn(writeDirectory_))) {
    viewStamp_ = stamp;
    lookAgainUntil_ = round + kRoundsAfterRender;
    hub_.tell("view", view());
  }
  for (const Json& frame : frames_.refresh()) hub_.tell("frame", frame);
  readRecords();
  if (round % kRoundsPerHistory != 0) return;
  if (!owner_ && (owner_ = ownership_.mine())) hub_.tell("owner", owner());
  if (round <= lookAgainUntil_) history_.lookAgain();
  const bool changed = history_.refresh();
  if (changed || recordsRead_) hub_.tell("history", Json::object());
  recordsRead_ = false;
}

void Watch::readRecords() {
  const auto end = std::chrono::steady_clock::now() + kReading;
  while (!ended_ && std::chrono::steady_clock::now() < end && history_.readRecords(kRecordsAtOnce)) recordsRead_ = true;
}

const History& Watch::history() {
  std::call_once(historyRead_, [this] { history_.refresh(); });
  return history_;
}

void Watch::lookUntilEnd() {
  history();
  for (unsigned round = 0; !ended_; ++round) {
    look(round);
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace quillmere::studio
