#include "api/application.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "core/application_state.h"
#include "framework/module_registration.h"
#include "module/module_file.h"
#include "resource/resource_folder.h"

namespace quillmere::host {

namespace fs = std::filesystem;

struct Application::Parts {
  ApplicationState state;
  std::vector<std::unique_ptr<ModuleFile>> modules;
};

namespace {

// While this lives, what is registered belongs to the module at `file`; unless kept, it is taken back in the end.
class RegistrationScope {
 public:
  RegistrationScope(ApplicationState& state, fs::path file) : state_(state) {
    state_.loading = std::move(file);
    state_.refusal.clear();
  }
  ~RegistrationScope() {
    const fs::path file = std::exchange(state_.loading, {});
    if (!kept_) state_.registry.removeModule(file.string());
  }
  RegistrationScope(const RegistrationScope&) = delete;
  RegistrationScope& operator=(const RegistrationScope&) = delete;
  void keep() { kept_ = true; }

 private:
  ApplicationState& state_;
  bool kept_ = false;
};

[[noreturn]] void refused(const ModuleFile& module, const std::string& what, const std::string& reason) {
  throw Error("module '" + module.path().string() + "' " + what + ": " +
              (reason.empty() ? "it gives no reason" : reason) + "; install the module anew together with its res/");
}

void start(ModuleFile& module, const std::string& refusal) {
  cinema::Int32 priority = 0;  // of no meaning while modules are opened one by one
  module.initSystem();
  module.message(C4DMSG_PRIORITY, &priority);
  if (!module.message(C4DPL_INIT_SYS, nullptr)) refused(module, "can't initialise", refusal);
  if (!module.start()) refused(module, "can't start", refusal);
}

std::vector<std::string> listOf(const char* const* names) {
  std::vector<std::string> list;
  for (; *names; ++names) list.emplace_back(*names);
  return list;
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
  if (applicationState()) throw Error("cannot open a second application: this process has one; end it first");
  if (!resource::isLanguage(parts_->state.language)) {
    throw Error("cannot use the language '" + parts_->state.language + "': write it like en-US");
  }
  setApplicationState(&parts_->state);
  keepFreedMemory();
}

// Modules end in the reverse order, and while the host still answers them.
Application::~Application() {
  while (!parts_->modules.empty()) {
    parts_->state.registry.removeModule(parts_->modules.back()->path().string());
    parts_->modules.pop_back();
  }
  setApplicationState(nullptr);
}

void Application::loadPlugin(const fs::path& folder) {
  const fs::path file = ModuleFile::in(folder);
  const bool present = std::any_of(parts_->modules.begin(), parts_->modules.end(), [&](const auto& module) {
    std::error_code failed;
    return fs::equivalent(module->path(), file, failed);
  });
  if (present) throw Error("cannot load module '" + file.string() + "': it is loaded already");
  RegistrationScope registrations(parts_->state, file);
  auto module = std::make_unique<ModuleFile>(file);
  start(*module, parts_->state.refusal);
  registrations.keep();
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

std::optional<Registration> registrationOf(const std::filesystem::path& folder) {
  const ModuleFile module(ModuleFile::in(folder));
  const auto* const declared =
      static_cast<const QuillmereHostRegistration*>(module.find("quillmere_host_registration"));
  if (!declared) return {};
  Registration registration{declared->identifier, listOf(declared->units), {}, listOf(declared->frameworks)};
  for (const auto* entity = declared->entities; entity->name; ++entity)
    registration.entities.emplace_back(entity->name, entity->unit);
  return registration;
}

}  // namespace quillmere::host
