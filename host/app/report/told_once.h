#pragma once

#include <string>

#include "report.h"

namespace quillmere::app {

// Stands before a report that a person reads, so that the error of a frame is told once: by the frame loop, at its end.
// The effect puts it into its status first and on the console then; the host tells the console why it has drawn
// nothing. A program gets all of that as it comes. The report must outlive this.
class ToldOnce : public Report {
 public:
  enum class Reader { Person, Program };

  ToldOnce(Report& report, Reader reader) : report_(report), reader_(reader) {}

  // Why the host has drawn nothing of this frame; empty when it has told nothing.
  const std::string& undrawn() const { return undrawn_; }
  // Why a picture that the effect wanted is not what it should be, though the effect may have gone on with it;
  // likewise.
  const std::string& notMade() const { return notMade_; }

  void statusText(const std::string& utf8) override;
  void statusSpin(bool on) override;
  void statusBar(double fraction) override { report_.statusBar(fraction); }
  void console(const std::string& utf8) override;
  void command(int id, int subid) override { report_.command(id, subid); }
  void pictureViewer(const image::Image& shown) override { report_.pictureViewer(shown); }
  void renderBegins(const RenderPlan& plan) override { report_.renderBegins(plan); }
  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override;
  void progress(const Progress& progress) override;
  void frameEnds(const FrameReport& report) override;
  void frameFails(std::int32_t frame, const std::string& error) override;
  void remark(std::int32_t frame, const std::string& text) override { report_.remark(frame, text); }
  void trouble(const std::string& text) override { report_.trouble(text); }
  void sequence(const SequenceProgress& progress) override { report_.sequence(progress); }
  void sequenceEnds(const SequenceSummary& summary) override { report_.sequenceEnds(summary); }
  void renderEnds(const Ending& ending) override { report_.renderEnds(ending); }
  bool wantsPreviews() const override { return report_.wantsPreviews(); }
  bool outputLost() const override { return report_.outputLost(); }
  void silence() override { report_.silence(); }

 private:
  void passOn();

  Report& report_;
  Reader reader_;
  std::string held_;               // a status text that may turn out to be the error
  std::string undrawn_, notMade_;  // see above
};

}  // namespace quillmere::app
