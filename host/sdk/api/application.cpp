#include "application.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "core/running.h"
#include "module/module_file.h"
#include "resource/resource_folder.h"

namespace quillmere::host {

namespace fs = std::filesystem;

struct Application::Parts {
  Running running;
  std::vector<std::unique_ptr<ModuleFile>> modules;
};

namespace {

// While this lives, what is registered belongs to the module at `file`; unless kept, it is taken back in the end.
class Loading {
 public:
  Loading(Running& running, fs::path file) : running_(running) {
    running_.loading = std::move(file);
    running_.refusal.clear();
  }
  ~Loading() {
    const fs::path file = std::exchange(running_.loading, {});
    if (!kept_) running_.registry.removeModule(file.string());
  }
  Loading(const Loading&) = delete;
  Loading& operator=(const Loading&) = delete;
  void keep() { kept_ = true; }

 private:
  Running& running_;
  bool kept_ = false;
};

[[noreturn]] void refused(const ModuleFile& module, const std::string& what, const Running& running) {
  const std::string reason = running.refusal.empty() ? "it gives no reason" : running.refusal;
  throw Error("module '" + module.path().string() + "' " + what + ": " + reason +
              "; install the module anew together with its res/");
}

void start(ModuleFile& module, const Running& running) {
  cinema::Int32 priority = 0;  // of no meaning while modules are opened one by one
  module.initSystem();
  module.message(C4DMSG_PRIORITY, &priority);
  if (!module.message(C4DPL_INIT_SYS, nullptr)) refused(module, "can't initialise", running);
  if (!module.start()) refused(module, "can't start", running);
}

// Frames of one size follow each other: what the pictures of one took is kept for those of the next, since getting it
// from the system again, filled with zeros, takes as long as writing them.
void keepFreedMemory() {
#ifdef __GLIBC__
  mallopt(M_MMAP_THRESHOLD, 32 << 20);  // bytes, the most that it takes
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
#endif
}

}  // namespace

Application::Application(const fs::path& writeDirectory, Events& events, std::string language)
    : parts_(
          new Parts{{fs::absolute(writeDirectory).lexically_normal(), events, std::move(language), {}, {}, {}}, {}}) {
  if (running()) throw Error("cannot open a second application: this process has one; end it first");
  if (!resource::isLanguage(parts_->running.language)) {
    throw Error("cannot use the language '" + parts_->running.language + "': write it like en-US");
  }
  setRunning(&parts_->running);
  keepFreedMemory();
}

// Modules end in the reverse order, and while the host still answers them.
Application::~Application() {
  while (!parts_->modules.empty()) {
    parts_->running.registry.removeModule(parts_->modules.back()->path().string());
    parts_->modules.pop_back();
  }
  setRunning(nullptr);
}

void Application::loadPlugin(const fs::path& folder) {
  const fs::path file = ModuleFile::in(folder);
  const bool present = std::any_of(parts_->modules.begin(), parts_->modules.end(), [&](const auto& module) {
    std::error_code failed;
    return fs::equivalent(module->path(), file, failed);
  });
  if (present) throw Error("cannot load module '" + file.string() + "': it is loaded already");
  Loading loading(parts_->running, file);
  auto module = std::make_unique<ModuleFile>(file);
  start(*module, parts_->running);
  loading.keep();
  parts_->modules.push_back(std::move(module));
}

fs::path userDataDirectory() {
  const char* home = std::getenv("HOME");
  const bool hasHome = home && fs::path(home).is_absolute();
#ifdef __APPLE__
  if (hasHome) return fs::path(home) / "Library" / "Application Support";
#else
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data && fs::path(data).is_absolute()) return data;
  if (hasHome) return fs::path(home) / ".local" / "share";
#endif
  throw Error("cannot tell where your data belongs: HOME is not set; set it or name a folder to write to");
}

}  // namespace quillmere::host
