#include "module/module_file.h"

#include <dlfcn.h>

#include <utility>

#include "base/error.h"
#include "core/text.h"

namespace quillmere::host {

namespace fs = std::filesystem;

namespace {

#ifdef __APPLE__
constexpr const char* kSuffix = ".xlib";
#else
constexpr const char* kSuffix = ".xso64";
#endif

void* open(const fs::path& file) {
  void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle) return handle;
  const char* reason = dlerror();
  throw Error("cannot open module '" + file.string() + "': " + (reason ? reason : "for no known reason") +
              "; build it for this machine and this version of the host");
}

}  // namespace

fs::path ModuleFile::in(const fs::path& folder) {
  const std::string what = "cannot load the plug-in in '" + folder.string() + "': ";
  std::error_code failed;
  if (!fs::is_directory(folder, failed))
    throw Error(what + "there is no such folder; name the one that holds the module");
  fs::path found;
  for (const auto& entry : fs::directory_iterator(folder, failed)) {
    if (entry.path().extension() != kSuffix) continue;
    if (!found.empty()) throw Error(what + "it holds more than one *" + kSuffix + "; leave the one that is meant");
    found = entry.path();
  }
  if (failed) throw Error(what + failed.message() + "; make the folder readable");
  if (found.empty()) throw Error(what + "it holds no module (*" + kSuffix + "); build the module first");
  return fs::absolute(found).lexically_normal();
}

ModuleFile::ModuleFile(fs::path file) : path_(std::move(file)), handle_(open(path_)) {
  entry_ = reinterpret_cast<Entry>(find("c4d_main"));
  if (entry_) return;
  dlclose(handle_);
  throw Error("cannot use module '" + path_.string() + "': it has no entry c4d_main; name a module made for this host");
}

ModuleFile::~ModuleFile() {
  if (begun_) entry_(C4DPL_END, nullptr, nullptr, nullptr);
  dlclose(handle_);
}

void* ModuleFile::find(const char* symbol) const {
  return dlsym(handle_, symbol);
}

void ModuleFile::initSystem() {
  begun_ = true;
  const cinema::Filename file = filenameOf(path_);
  entry_(C4DPL_INIT_SYS, nullptr, nullptr, const_cast<cinema::Filename*>(&file));
}

bool ModuleFile::message(cinema::Int32 id, void* data) {
  // The entry takes numbers in its pointers. NOLINTNEXTLINE(performance-no-int-to-ptr)
  void* number = reinterpret_cast<void*>(static_cast<intptr_t>(id));
  return entry_(C4DPL_MESSAGE, number, data, nullptr) == 1;
}

bool ModuleFile::start() {
  return entry_(C4DPL_INIT, nullptr, nullptr, nullptr) == 1;
}

}  // namespace quillmere::host
