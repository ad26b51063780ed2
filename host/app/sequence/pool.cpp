#include "pool.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <thread>

#include "base/error.h"
#include "files/exchange_files.h"
#include "files/merged_files.h"
#include "files/view_state.h"
#include "process/process_tree.h"
#include "process/worker_process.h"
#include "report/in_flight.h"
#include "sdk/api/frame.h"
#include "values/failure.h"
#include "worker_messages.h"

namespace quillmere::app {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLook = 50;                                // milliseconds between looks at breaks and pauses
constexpr std::chrono::milliseconds kGrace{1500};        // for what still runs at the end
constexpr std::chrono::milliseconds kTimeToLeave{5000};  // for workers that have nothing left to do
constexpr int kMostVainStarts = 2;

// One of the frames in flight, and the process that renders it.
struct Slot {
  Slot(int slotNumber, const Workers& workers, Report& report, SequenceLog& log)
      : number(slotNumber),
        writeDirectory(writeDirectoryOfJob(workers.writeDirectory, slotNumber)),
        inFlight(report),
        told(inFlight, workers.reader),
        logged(told, log, writeDirectory) {}

  bool busy() const { return shot && !again; }
  bool retired() const { return vainStarts >= kMostVainStarts; }

  int number;
  std::filesystem::path writeDirectory;
  InFlight inFlight;
  ToldOnce told;
  LoggedReport logged;
  std::optional<WorkerProcess> process;
  bool ready = false;
  std::optional<Ending> ending;  // what the process has said of its own end
  int vainStarts = 0;            // of processes that have ended before they were ready, one after the other
  std::optional<Shot> shot;
  std::optional<Clock::time_point> again;  // when the shot is tried again
  Clock::time_point begun;
};

class Pool {
 public:
  Pool(Sequence& sequence, const Workers& workers, Report& report, SequenceLog& log, const std::function<bool()>& stop)
      : sequence_(sequence), workers_(workers), stop_(stop) {
    for (int number = 1; number <= workers.count; ++number) {
      slots_.push_back(std::make_unique<Slot>(number, workers, report, log));
    }
  }
  ~Pool() { endDescendants(kGrace); }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  void run();

 private:
  void handOut();
  std::optional<Shot> nextShot();
  void begin(Slot& slot);
  void start(Slot& slot) const;
  void finishAll();
  void listen();
  void hear(Slot& slot);
  void end(Slot& slot, Attempt attempt);
  void bury(Slot& slot);
  void restart(Slot& slot);
  bool toldToStop(const Attempt& attempt) const;
  bool anyBusy() const;
  bool anyWaiting() const;

  Sequence& sequence_;
  const Workers& workers_;
  const std::function<bool()>& stop_;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::vector<Shot> returned_;  // by slots whose processes don't come up
};

void Pool::run() {
  bool finishing = false;
  for (;;) {
    if (stop_() && !finishing) {
      finishing = true;
      finishAll();
    }
    if (!finishing) handOut();
    if (!anyBusy() && !anyWaiting()) break;
    listen();
  }
  finishAll();
  const Clock::time_point patience = Clock::now() + kTimeToLeave;
  const auto runs = [](const auto& slot) { return slot->process.has_value(); };
  while (std::any_of(slots_.begin(), slots_.end(), runs) && Clock::now() < patience) listen();
}

bool Pool::anyBusy() const {
  return std::any_of(slots_.begin(), slots_.end(), [](const auto& slot) { return slot->busy(); });
}

bool Pool::anyWaiting() const {
  return std::any_of(slots_.begin(), slots_.end(), [](const auto& slot) { return slot->again.has_value(); });
}

void Pool::handOut() {
  for (const auto& slot : slots_) {
    if (slot->busy() || (slot->again && Clock::now() < *slot->again)) continue;
    if (slot->retired()) continue;
    if (!slot->shot) slot->shot = nextShot();
    if (slot->shot) begin(*slot);
  }
}

std::optional<Shot> Pool::nextShot() {
  if (returned_.empty()) return sequence_.next(stop_);
  Shot shot = std::move(returned_.back());
  returned_.pop_back();
  return shot;
}

void Pool::begin(Slot& slot) {
  slot.again.reset();
  slot.begun = Clock::now();
  slot.inFlight.follow(slot.shot->frame, slot.shot->index, sequence_.plan().count());
  slot.logged.frameBegins(slot.shot->frame, slot.shot->index, sequence_.plan().count());
  if (!slot.process) start(slot);
  slot.process->tell(
      orderLine(Order{*slot.shot, lockedStyle(workers_.writeDirectory)}));  // it may have ended: heard soon
}

void Pool::start(Slot& slot) const {
  std::vector<std::string> arguments = workers_.arguments;
  arguments.push_back("--write-dir=" + slot.writeDirectory.string());
  slot.ready = false;
  slot.ending.reset();
  slot.process.emplace(thisProgram(), arguments);
}

void Pool::finishAll() {
  for (const auto& slot : slots_) {
    if (slot->process) slot->process->finish();
    if (slot->again) slot->shot.reset();
    slot->again.reset();
  }
}

void Pool::listen() {
  std::vector<pollfd> waits;
  std::vector<Slot*> heard;
  for (const auto& slot : slots_) {
    if (!slot->process) continue;
    waits.push_back({slot->process->answers(), POLLIN, 0});
    heard.push_back(slot.get());
  }
  if (::poll(waits.data(), waits.size(), kLook) <= 0) return;
  for (std::size_t at = 0; at < waits.size(); ++at) {
    if (waits[at].revents != 0) hear(*heard[at]);
  }
}

// By somebody else than this process; it is about to end, which says more.
bool Pool::toldToStop(const Attempt& attempt) const {
  return attempt.report.state == FrameReport::State::Stopped && !stop_();
}

void Pool::hear(Slot& slot) {
  try {
    for (const std::string& line : slot.process->take()) {
      WorkerNews news = passOn(line, slot.logged);
      if (news.ready) slot.ready = true;
      if (news.ready) slot.vainStarts = 0;
      if (news.ending) slot.ending = std::move(news.ending);
      if (news.attempt && slot.busy() && !toldToStop(*news.attempt)) end(slot, std::move(*news.attempt));
    }
  } catch (const Error&) {  // it speaks of something else: its end is heard next
    ::kill(slot.process->id(), SIGKILL);
  }
  if (slot.process->answers() < 0) bury(slot);
}

void Pool::end(Slot& slot, Attempt attempt) {
  const std::int32_t frame = slot.shot->frame;
  const bool done = attempt.report.state == FrameReport::State::Done;
  mergeFrame(slot.writeDirectory, workers_.writeDirectory, frame);
  if (done) mergeViewState(slot.writeDirectory, workers_.writeDirectory);
  keepViewState(workers_.writeDirectory);
  if (!attempt.report.guide.empty()) attempt.report.guide = guideFile(workers_.writeDirectory, frame).string();
  if (const auto pause = sequence_.ended(*slot.shot, attempt, slot.logged)) {
    slot.again = Clock::now() + *pause;
  } else {
    slot.shot.reset();
  }
}

// How the process has ended, which has closed its output.
std::string endOf(pid_t process) {
  int status = 0;
  for (int look = 0; look < 40; ++look) {
    const pid_t ended = ::waitpid(process, &status, WNOHANG);
    if (ended == process && WIFSIGNALED(status)) return "was killed by signal " + std::to_string(WTERMSIG(status));
    if (ended == process) return "ended with status " + std::to_string(WEXITSTATUS(status));
    if (ended < 0 && errno != EINTR) return "ended";
    std::this_thread::sleep_for(std::chrono::milliseconds(kLook));
  }
  ::kill(process, SIGKILL);
  ::waitpid(process, &status, 0);
  return "ended without leaving";
}

// A process that ends before it is ready says nothing about the frame: there may be too little memory for another one.
void Pool::restart(Slot& slot) {
  ++slot.vainStarts;
  if (!slot.busy()) return;
  if (!slot.retired()) return begin(slot);
  returned_.push_back(std::move(*slot.shot));
  slot.shot.reset();
  if (!std::all_of(slots_.begin(), slots_.end(), [](const auto& one) { return one->retired(); })) return;
  const std::string what = "--jobs " + std::to_string(workers_.count);
  const std::string why = "the processes that render end before they have begun";
  if (slot.ending) throw Failure(ExitStatus::Failed, what, why + ": " + slot.ending->error, slot.ending->remedy);
  throw Failure(ExitStatus::Failed, what, why, "render with --jobs 1, which tells why");
}

void Pool::bury(Slot& slot) {
  const std::string how = endOf(slot.process->id());
  slot.process.reset();
  std::vector<pid_t> kept;
  for (const auto& one : slots_) {
    if (one->process) kept.push_back(one->process->id());
  }
  killStrays(kept);
  const bool stopped = stop_();
  if (!slot.ready && !stopped) return restart(slot);
  if (!slot.busy()) return;
  Attempt attempt;
  attempt.report.frame = slot.shot->frame;
  attempt.report.camera = slot.shot->camera;
  attempt.report.state = stopped ? FrameReport::State::Stopped : FrameReport::State::Failed;
  attempt.report.result = static_cast<int>(stopped ? cinema::RENDERRESULT::USERBREAK : cinema::RENDERRESULT::FAILED);
  attempt.report.seconds = std::chrono::duration<double>(Clock::now() - slot.begun).count();
  if (!stopped) attempt.report.error = slot.ending ? slot.ending->error : "the process that rendered it " + how;
  attempt.failure = FailureKind::Passing;
  end(slot, std::move(attempt));
}

}  // namespace

void renderSideBySide(Sequence& sequence, const Workers& workers, Report& report, SequenceLog& log,
                      const std::function<bool()>& stop) {
  Pool(sequence, workers, report, log, stop).run();
}

}  // namespace quillmere::app
