#pragma once

#include "report.h"

namespace quillmere::app {

// Stands before another report, which must outlive it, and passes on whatever it doesn't tell in its own way.
class ForwardingReport : public Report {
 public:
  explicit ForwardingReport(Report& report) : report_(report) {}

  void statusText(const std::string& utf8) override { next().statusText(utf8); }
  void statusSpin(bool on) override { next().statusSpin(on); }
  void statusBar(double fraction) override { next().statusBar(fraction); }
  void console(const std::string& utf8) override { next().console(utf8); }
  void command(int id, int subid) override { next().command(id, subid); }
  void pictureViewer(const image::Image& shown) override { next().pictureViewer(shown); }
  void renderBegins(const RenderPlan& plan) override { report_.renderBegins(plan); }
  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    report_.frameBegins(frame, index, count);
  }
  void progress(const Progress& progress) override { next().progress(progress); }
  void frameEnds(const FrameReport& report) override { next().frameEnds(report); }
  void frameFails(std::int32_t frame, const std::string& error) override { next().frameFails(frame, error); }
  void helperPrints(const std::string& lines) override { next().helperPrints(lines); }
  void turnTo(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    report_.turnTo(frame, index, count);
  }
  void remark(std::int32_t frame, const std::string& text) override { report_.remark(frame, text); }
  void trouble(const std::string& text) override { report_.trouble(text); }
  void sequence(const SequenceProgress& progress) override { report_.sequence(progress); }
  void sequenceEnds(const SequenceSummary& summary) override { report_.sequenceEnds(summary); }
  void renderEnds(const Ending& ending) override { report_.renderEnds(ending); }
  bool wantsPreviews() const override { return report_.wantsPreviews(); }
  bool outputLost() const override { return report_.outputLost(); }
  void silence() override { report_.silence(); }

 protected:
  // The other report, ready to hear of the frame that is being rendered.
  virtual Report& next() { return report_; }

  Report& report_;
};

}  // namespace quillmere::app
