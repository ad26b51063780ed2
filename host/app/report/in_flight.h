#pragma once

#include "report.h"

namespace quillmere::app {

// Stands before a report that hears of several frames in flight, for one of them at a time: says which one it is before
// anything about it is passed on. The report must outlive it.
class InFlight : public Report {
 public:
  explicit InFlight(Report& report) : report_(report) {}

  // What comes from now on is about this frame.
  void follow(std::int32_t frame, std::int64_t index, std::int64_t count) {
    frame_ = frame;
    index_ = index;
    count_ = count;
  }

  void statusText(const std::string& utf8) override { turned().statusText(utf8); }
  void statusSpin(bool on) override { turned().statusSpin(on); }
  void statusBar(double fraction) override { turned().statusBar(fraction); }
  void console(const std::string& utf8) override { turned().console(utf8); }
  void command(int id, int subid) override { turned().command(id, subid); }
  void pictureViewer(const image::Image& shown) override { turned().pictureViewer(shown); }
  void frameBegins(std::int32_t frame, std::int64_t index, std::int64_t count) override {
    report_.frameBegins(frame, index, count);
  }
  void progress(const Progress& progress) override { turned().progress(progress); }
  void frameEnds(const FrameReport& report) override { turned().frameEnds(report); }
  void frameFails(std::int32_t frame, const std::string& error) override { turned().frameFails(frame, error); }
  void remark(std::int32_t frame, const std::string& text) override { report_.remark(frame, text); }
  void trouble(const std::string& text) override { report_.trouble(text); }
  bool wantsPreviews() const override { return report_.wantsPreviews(); }
  bool outputLost() const override { return report_.outputLost(); }
  void silence() override { report_.silence(); }

 private:
  Report& turned() {
    report_.turnTo(frame_, index_, count_);
    return report_;
  }

  Report& report_;
  std::int32_t frame_ = 0;
  std::int64_t index_ = 0, count_ = 1;
};

}  // namespace quillmere::app
