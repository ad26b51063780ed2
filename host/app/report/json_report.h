#pragma once

#include "report.h"

namespace quillmere::app {

// One JSON object a line on the results' output, as soon as the host is told and in that order.
class JsonReport : public Report {
 public:
  explicit JsonReport(Output& results) : results_(results) {}

  void statusText(const std::string& utf8) override;
  void statusSpin(bool on) override;
  void statusBar(double fraction) override;
  void console(const std::string& utf8) override;
  void command(int id, int subid) override;
  void pictureViewer(const image::Image& shown) override;
  void frameEnds(const FrameReport& report) override;
  bool outputLost() const override { return results_.lost(); }

 private:
  void tell(const Json& event) { results_.write(lineOf(event)); }

  Output& results_;
};

}  // namespace quillmere::app
