#include "report/told_once.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sdk/core/events.h"

namespace quillmere::app {
namespace {

class HeardReport : public Report {
 public:
  void console(const std::string& utf8) override { lines.push_back(utf8); }
  void frameEnds(const FrameReport& /*report*/) override {}
  bool outputLost() const override { return false; }

  std::vector<std::string> lines;
};

// Such a frame may end well for the effect, so the reason has to be there when the frame loop asks for it.
TEST(ToldOnce, KeepsWhyAPictureIsNotMadeUntilTheNextFrame) {
  const std::string unmade = std::string(host::kNotMade) + "no memory",
                    undrawn = std::string(host::kUndrawn) + "no camera";
  HeardReport person;
  ToldOnce report(person, ToldOnce::Reader::Person);
  report.frameBegins(1, 0, 2);
  for (const std::string& line : {unmade, undrawn, std::string("Loaded")}) report.console(line);
  EXPECT_EQ(report.notMade(), "no memory");
  EXPECT_EQ(report.undrawn(), "no camera");
  EXPECT_EQ(person.lines, std::vector<std::string>{"Loaded"});
  report.frameBegins(2, 1, 2);
  EXPECT_EQ(report.notMade() + report.undrawn(), "");

  HeardReport program;
  ToldOnce(program, ToldOnce::Reader::Program).console(unmade);
  EXPECT_EQ(program.lines, std::vector<std::string>{unmade});
}

}  // namespace
}  // namespace quillmere::app
