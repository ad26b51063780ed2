#include "state_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

#include "effect/effect_session.h"
#include "effect/parameter_ids.h"
#include "effect/workflow_choice.h"
#include "failure.h"
#include "files/manager_folder.h"
#include "image/atomic_file.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostAsked = 100;

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

std::vector<std::string> namesIn(const NodeParameters& node) {
  std::vector<std::string> names;
  for (const Parameter::Choice& choice : node.find(QUILLMERE_WORKFLOW).choices) {
    if (choice.value != 0) names.push_back(choice.text);
  }
  return names;
}

}  // namespace

bool effectReads(const std::string& text, const std::vector<Listed>& expected, const PluginFolder& plugin) {
  const TemporaryHome home;
  const ManagerFolder manager;
  fs::create_directories(manager.path());
  image::writeFile(manager.state(), text);
  host::Events nobody;
  EffectSession session(home.folder(), plugin, nobody);
  const auto sameName = [](const std::string& name, const Listed& listed) { return name == listed.name; };
  const std::vector<std::string> names = namesIn(session.node());
  if (!std::equal(names.begin(), names.end(), expected.begin(), expected.end(), sameName)) return false;
  if (expected.size() > kMostAsked) return true;
  const auto sameId = [](const Workflow& workflow, const Listed& listed) { return workflow.id == listed.id; };
  const std::vector<Workflow> catalog = catalogOf(session.node());
  return std::equal(catalog.begin(), catalog.end(), expected.begin(), expected.end(), sameId);
}

}  // namespace quillmere::app
