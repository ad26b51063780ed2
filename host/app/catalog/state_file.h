#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "effect/effect_session.h"
#include "files/manager_folder.h"
#include "state_text.h"

namespace quillmere::app {

// A file that only one process has locked at a time, while this lives. Where the file system knows no locks, nobody is
// kept out.
class FileLock {
 public:
  // Throws Failure, which calls what is locked `what`, when another process has it for longer than ten seconds.
  FileLock(const std::string& what, const std::filesystem::path& file);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int descriptor_;
};

// The workflow manager's state on disk, kept from other changes by this command while this lives. Where there is none,
// the one under the manager's former name is its beginning.
class StateFile {
 public:
  // Makes the manager's folder where it is missing. Throws Failure when there is no home for it, and when the state
  // can't be read or its form can't be changed.
  explicit StateFile(PluginFolder plugin);

  const ManagerFolder& manager() const { return manager_; }
  const StateText& present() const { return present_; }
  // Puts `text` in the state's place, whole or not at all, with the state's permissions, and the former text into
  // state.json.bak. Tells on standard error when the state was read under its former name. Throws, with the state as it
  // was, Failure when the effect would not list its workflows as `expected`, or when another program has changed the
  // state since it was read, Error when it can't be written.
  void replace(const std::string& text, const std::vector<StateEntry>& expected) const;

 private:
  PluginFolder plugin_;
  ManagerFolder manager_;
  FileLock lock_;
  std::filesystem::path source_;  // what was read
  StateText present_;
};

}  // namespace quillmere::app
