#include "told_once.h"

#include <utility>

namespace quillmere::app {

void ToldOnce::passOn() {
  if (!held_.empty()) report_.statusText(std::exchange(held_, {}));
}

void ToldOnce::statusText(const std::string& utf8) {
  passOn();
  held_ = utf8;
  if (reader_ == Reader::Program) passOn();
}

// Work goes on after a text that comes with a busy indicator: it was no error.
void ToldOnce::statusSpin(bool on) {
  if (on) passOn();
  report_.statusSpin(on);
}

void ToldOnce::console(const std::string& utf8) {
  const bool undrawn = utf8.starts_with(host::kUndrawn), notMade = utf8.starts_with(host::kNotMade);
  if (undrawn) undrawn_ = utf8.substr(host::kUndrawn.size());
  if (notMade) notMade_ = utf8.substr(host::kNotMade.size());
  const bool toldAtTheEnd = undrawn || notMade || (!held_.empty() && utf8.ends_with("] " + held_));
  if (!toldAtTheEnd || reader_ == Reader::Program) report_.console(utf8);
}

void ToldOnce::frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) {
  held_.clear();
  undrawn_.clear();
  notMade_.clear();
  report_.frameBegins(frame, index, count);
}

// Who tells how far he is has not failed.
void ToldOnce::progress(const Progress& progress) {
  passOn();
  report_.progress(progress);
}

void ToldOnce::frameEnds(const FrameReport& report) {
  if (report.state != FrameReport::State::Failed) passOn();
  held_.clear();
  report_.frameEnds(report);
}

void ToldOnce::frameFails(std::int32_t frame, const std::string& error) {
  held_.clear();
  report_.frameFails(frame, error);
}

}  // namespace quillmere::app
