#pragma once

#include <string>

#include "forwarding_report.h"

namespace quillmere::app {

// Stands before a report that a person reads, so that the error of a frame is told once: by the frame loop, at its end.
// The effect puts it into its status first and on the console then; the host tells the console why it has drawn
// nothing. A program gets all of that as it comes.
class ToldOnce : public ForwardingReport {
 public:
  enum class Reader { Person, Program };

  ToldOnce(Report& report, Reader reader) : ForwardingReport(report), reader_(reader) {}

  // Why the host has drawn nothing of this frame; empty when it has told nothing.
  const std::string& undrawn() const { return undrawn_; }
  // Why a picture that the effect wanted is not what it should be, though the effect may have gone on with it;
  // likewise.
  const std::string& notMade() const { return notMade_; }

  void statusText(const std::string& utf8) override;
  void statusSpin(bool on) override;
  void console(const std::string& utf8) override;
  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override;
  void progress(const Progress& progress) override;
  void frameEnds(const FrameReport& report) override;
  void frameFails(std::int32_t frame, const std::string& error) override;

 private:
  void passOn();

  Reader reader_;
  std::string held_;               // a status text that may turn out to be the error
  std::string undrawn_, notMade_;  // see above
};

}  // namespace quillmere::app
