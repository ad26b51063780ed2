#include "state_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

#include "base/atomic_file.h"
#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "files/manager_folder.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// An empty folder as $HOME while this lives.
class TemporaryHome {
 public:
  TemporaryHome() : folder_((fs::temp_directory_path() / "quillmere-XXXXXX").string()) {
    if (::mkdtemp(folder_.data()) == nullptr) {
      throw Failure(ExitStatus::Failed, "temporary folder '" + folder_ + "'",
                    "cannot be made: " + std::generic_category().message(errno),
                    "give TMPDIR one that you may write to");
    }
    const char* const home = std::getenv("HOME");
    if (home) former_ = home;
    ::setenv("HOME", folder_.c_str(), 1);
  }
  ~TemporaryHome() {
    if (former_) ::setenv("HOME", former_->c_str(), 1);
    if (!former_) ::unsetenv("HOME");
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;

  const std::string& folder() const { return folder_; }

 private:
  std::string folder_;
  std::optional<std::string> former_;
};

}  // namespace

bool effectReads(const std::string& text, const std::vector<StateEntry>& expected, const PluginFolder& plugin) {
  const TemporaryHome home;
  const ManagerFolder manager;
  fs::create_directories(manager.path());
  writeFile(manager.state(), text);
  host::Events nobody;
  EffectSession session(home.folder(), plugin, nobody);
  const auto same = [](const Workflow& workflow, const StateEntry& entry) {
    return workflow.id == entry.id && workflow.name == entry.name;
  };
  const std::vector<Workflow> catalog = catalogOf(session.node());
  return std::equal(catalog.begin(), catalog.end(), expected.begin(), expected.end(), same);
}

}  // namespace quillmere::app
