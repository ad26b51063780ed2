#include "in_turn.h"

#include <thread>
#include <utility>

#include "base/error.h"
#include "files/merged_files.h"

namespace quillmere::app {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLook{20};

void wait(std::chrono::milliseconds pause, const std::function<bool()>& stop) {
  const Clock::time_point end = Clock::now() + pause;
  while (Clock::now() < end && !stop()) std::this_thread::sleep_for(kLook);
}

void renderUntilItEnds(const Shot& shot, Sequence& sequence, const RenderShot& render, Report& report,
                       const std::function<bool()>& stop) {
  for (;;) {
    report.frameBegins(shot.frame, shot.index, sequence.plan().count());
    const auto pause = sequence.ended(shot, render(shot, stop), report);
    if (!pause) return;
    wait(*pause, stop);
    if (stop()) return;
  }
}

void tell(const std::string& lines, Report& report) {
  if (!lines.empty()) report.helperPrints(lines);
}

}  // namespace

RenderShot listening(RenderShot render, HelperOutput& output, Report& report) {
  return [render = std::move(render), &output, &report](const Shot& shot, const std::function<bool()>& stop) {
    const std::thread::id thread = std::this_thread::get_id();
    Attempt attempt = render(shot, [&] {
      if (std::this_thread::get_id() == thread) tell(output.lines(), report);
      return stop();
    });
    tell(output.rest(), report);
    return attempt;
  };
}

void renderInTurn(Sequence& sequence, const RenderShot& render, Report& report, const std::function<bool()>& stop) {
  while (const auto shot = sequence.next(stop)) renderUntilItEnds(*shot, sequence, render, report, stop);
}

ExitStatus serve(Orders& orders, const std::filesystem::path& writeDirectory, const RenderShot& render,
                 WorkerReport& report, const std::function<bool()>& stop) {
  report.ready();
  while (const auto line = orders.next(stop)) {
    const Order order = orderIn(*line);
    try {
      lockStyle(writeDirectory, order.lockedStyle);
      report.attempted(render(order.shot, stop));
    } catch (const Error& error) {
      report.attempted(failedBefore(order.shot, error.what()));
    }
  }
  return stop() && !orders.ended() ? ExitStatus::Broken : ExitStatus::Done;
}

}  // namespace quillmere::app
