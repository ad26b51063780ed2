#include "state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "base/atomic_file.h"
#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "files/manager_folder.h"
#include "files/ordinary_file.h"
#include "files/scratch_folder.h"
#include "report/output.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* kWhat = "workflow list";
constexpr const char* kWithItsOwn = "change it with the program that has written it";
constexpr std::size_t kMost = 64U << 20U;  // bytes; what is too large to be changed may still be named as that
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kPause{50};

[[noreturn]] void refuse(const fs::path& file, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Failed, std::string(kWhat) + " '" + file.string() + "'", why, remedy);
}

// In the manager's folder, which is made where it is missing.
fs::path lockFile(const ManagerFolder& manager) {
  if (!manager.path().is_absolute()) {
    throw Failure(ExitStatus::Failed, kWhat, "HOME is not set, which would tell where it belongs", "set it");
  }
  std::error_code error;
  fs::create_directories(manager.path() / "workflows", error);
  if (!error) return manager.path() / "state.lock";
  throw Failure(ExitStatus::Failed, "folder '" + manager.path().string() + "'", "cannot be made: " + error.message(),
                "make it yourself, or give another HOME");
}

fs::path sourceOf(const ManagerFolder& manager) {
  std::error_code error;
  const bool former = !fs::exists(manager.state(), error) && fs::exists(manager.formerState(), error);
  return former ? manager.formerState() : manager.state();
}

std::string textIn(const fs::path& source) {
  std::error_code error;
  return fs::exists(source, error) ? contentOf(kWhat, source, kMost, "move it away, or let yourself read it") : "";
}

void write(const fs::path& file, const std::string& text, const fs::path& like) {
  AtomicFile beside(file);
  struct stat status = {};
  if (::stat(like.c_str(), &status) == 0) ::fchmod(::fileno(beside.stream()), status.st_mode & 07777U);
  std::fwrite(text.data(), 1, text.size(), beside.stream());
  std::fflush(beside.stream());
  ::fsync(::fileno(beside.stream()));
  beside.commit();
}

// An empty folder as $HOME while this lives.
class TemporaryHome {
 public:
  TemporaryHome() {
    const char* const home = std::getenv("HOME");
    if (home) former_ = home;
    ::setenv("HOME", folder().c_str(), 1);
  }
  ~TemporaryHome() {
    if (former_) ::setenv("HOME", former_->c_str(), 1);
    if (!former_) ::unsetenv("HOME");
  }
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;

  const fs::path& folder() const { return folder_.path(); }

 private:
  ScratchFolder folder_;
  std::optional<std::string> former_;
};

// Whether the effect itself lists `expected` when `text` is the workflow manager's state. Its module is loaded and
// asked, with a temporary home in place of the user's, so not while another thread reads the environment. Throws Error
// when the module can't be used, Failure when there is no room for the home.
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

}  // namespace

FileLock::FileLock(const std::string& what, const fs::path& file)
    : descriptor_(::open(file.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0644)) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
    if (std::chrono::steady_clock::now() > end) {
      ::close(descriptor_);
      throw Failure(ExitStatus::Failed, what, "another quillmere has been changing it for ten seconds",
                    "try again once that one has ended");
    }
    std::this_thread::sleep_for(kPause);
  }
}

FileLock::~FileLock() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

StateFile::StateFile(PluginFolder plugin)
    : plugin_(std::move(plugin)),
      lock_(kWhat, lockFile(manager_)),
      source_(sourceOf(manager_)),
      present_(textIn(source_), source_) {
  if (effectReads(present_.text(), present_.listed(), plugin_)) return;
  refuse(source_, "the effect reads other workflows in it than stand there", kWithItsOwn);
}

void StateFile::replace(const std::string& text, const std::vector<StateEntry>& expected) const {
  if (!effectReads(text, expected, plugin_)) {
    refuse(source_, "its form makes more of this change than was asked for", kWithItsOwn);
  }
  if (sourceOf(manager_) != source_ || textIn(source_) != present_.text()) {
    refuse(source_, "another program has just changed it", "look at it, and try again");
  }
  const fs::path state = manager_.state();
  std::error_code error;
  if (fs::exists(state, error)) write(state.string() + ".bak", present_.text(), state);
  write(state, text, source_);
  if (source_ == state) return;
  printError("the workflows of '" + source_.string() + "' were taken over into '" + state.string() +
             "'; the former list stays as it is, and isn't read any more");
}

}  // namespace quillmere::app
