#include "files/helper_progress.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "files/exchange_files.h"
#include "temporary_folder.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// Keeps what it is told in one line, absent members left out.
class Kept : public Report {
 public:
  void frameEnds(const FrameReport& /*report*/) override {}
  bool outputLost() const override { return false; }
  void progress(const Progress& told) override {
    line = told.phase + "|" + told.message;
    if (told.fraction) line += " done " + std::to_string(*told.fraction);
    if (told.steps) line += " step " + std::to_string(told.steps->done) + "/" + std::to_string(told.steps->all);
    if (told.secondsLeft) line += " left " + std::to_string(*told.secondsLeft);
    if (told.ahead) line += " ahead " + std::to_string(*told.ahead);
    if (!told.preview.empty()) line += " preview " + fs::path(told.preview).filename().string();
  }

  std::string line = "nothing";
};

class HelperProgressTest : public testing::Test {
 protected:
  void SetUp() override { fs::create_directories(status_.parent_path()); }

  // What is told of a status that is written after the frame has begun.
  std::string told(const std::string& status) {
    Kept report;
    HelperProgress progress(folder_.path(), 3, report);
    std::ofstream(status_, std::ios::trunc) << status;
    progress.watchingDuring([] { return false; })();
    return report.line;
  }

  TemporaryFolder folder_;
  fs::path status_ = statusFile(folder_.path(), 3);
};

TEST_F(HelperProgressTest, TellsWhatIsSoundAndLeavesOutTheRest) {
  std::ofstream(status_.parent_path() / "preview_3.png") << "a picture";
  std::ofstream(status_.parent_path() / "preview_4.png") << "of another frame";
  fs::create_symlink(status_.parent_path() / "preview_3.png", status_.parent_path() / "preview_3.jpg");
  const std::string here = status_.parent_path().string();
  for (const auto& [members, expected] : std::vector<std::pair<std::string, std::string>>{
           {R"("phase": "p", "message": "m", "progress": 0.5, "step": 2, "steps": 2, "ahead": 0, "seconds_left": 1.5)",
            "p|m done 0.500000 step 2/2 left 1.500000 ahead 0"},
           {R"("progress": 1.1)", "|"},
           {R"("progress": -0.1)", "|"},
           {R"("progress": true)", "|"},
           {R"("step": 21, "steps": 20)", "|"},
           {R"("step": 1)", "|"},
           {R"("step": -1, "steps": 20)", "|"},
           {R"("step": 1.0, "steps": 20)", "|"},
           {R"("step": 1, "steps": 18446744073709551615)", "|"},
           {R"("seconds_left": 1e300)", "|"},
           {R"("seconds_left": null, "ahead": -1)", "|"},
           {R"("message": ["a"], "phase": 7)", "|"},
           {"\"message\": \"" + std::string(5000, 'x') + "\"", "|"},
           {"\"preview\": \"" + here + "/preview_3.png\"", "| preview preview_3.png"},
           {R"("preview": "preview_3.png")", "| preview preview_3.png"},
           {"\"preview\": \"" + here + "/preview_3.jpg\"", "|"},  // a link
           {"\"preview\": \"" + here + "/preview_4.png\"", "|"},
           {R"("preview": "../runtime/preview_3.png")", "|"},
           {R"("preview": "/etc/passwd")", "|"},
           {R"("progress": 1e999)", "nothing"},
           {R"("message": "a)", "nothing"},
           {"\"a\": " + std::string(99, '[') + std::string(99, ']'), "nothing"},
           {"\"a\": \"" + std::string(70'000, 'x') + "\"", "nothing"}}) {
    SCOPED_TRACE(members.substr(0, 80));
    EXPECT_EQ(told("{" + members + "}"), expected);
  }
  EXPECT_EQ(told("[1]"), "nothing");
}

TEST_F(HelperProgressTest, PassesOverAnEarlierRendersStatusAndWhatIsNoFile) {
  std::ofstream(status_) << R"({"message": "old"})";
  Kept report;
  HelperProgress progress(folder_.path(), 3, report);
  const auto watch = progress.watchingDuring([] { return true; });
  EXPECT_TRUE(watch());
  EXPECT_EQ(report.line, "nothing");
  fs::remove(status_);
  ASSERT_EQ(::mkfifo(status_.c_str(), 0600), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(110));
  EXPECT_TRUE(watch());
  EXPECT_EQ(report.line, "nothing");
}

}  // namespace
}  // namespace quillmere::app
