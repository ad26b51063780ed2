#pragma once

#include <filesystem>

#include "c4d.h"

namespace quillmere::host {

// A module of which the file is open. Ending this ends the module, if it was told to begin, and closes the file.
class ModuleFile {
 public:
  // The one module in the folder, by its suffix. Throws Error.
  static std::filesystem::path in(const std::filesystem::path& folder);

  // Opens the file and finds the module's entry. Throws Error.
  explicit ModuleFile(std::filesystem::path file);
  ~ModuleFile();
  ModuleFile(const ModuleFile&) = delete;
  ModuleFile& operator=(const ModuleFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

  void* find(const char* symbol) const;  // null when the module has no such symbol

  void initSystem();                           // tells the module where it lies
  bool message(cinema::Int32 id, void* data);  // the module's answer
  bool start();                                // false: it doesn't want to start

 private:
  using Entry = cinema::Int32 (*)(cinema::Int32, void*, void*, void*);

  std::filesystem::path path_;
  void* handle_;
  Entry entry_;
  bool begun_ = false;
};

}  // namespace quillmere::host
