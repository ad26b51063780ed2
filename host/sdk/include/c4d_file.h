#pragma once

#include "c4d_string.h"

namespace cinema {

// The name of a file or folder, with the platform's separators and none at its end.
class QM_HOST_API Filename {
 public:
  Filename();
  Filename(const Char* utf8);
  Filename(const maxon::String& name);
  Filename(const Filename& other);
  Filename(Filename&& other) noexcept;
  ~Filename();
  const Filename& operator=(const Filename& other);
  const Filename& operator=(Filename&& other) noexcept;

  Bool IsPopulated() const;
  String GetString() const;

  const Filename GetDirectory() const;  // empty for a bare name
  const Filename GetFile() const;       // the last component
  String GetFileString() const;

  // Appends the last component of `other` behind one separator; the folders of `other` are left out. To an empty name
  // the whole of `other` is assigned.
  const Filename& operator+=(const Filename& other);
  friend QM_HOST_API const Filename operator+(const Filename& a, const Filename& b);

  friend QM_HOST_API Bool operator==(const Filename& a, const Filename& b);
  friend QM_HOST_API Bool operator!=(const Filename& a, const Filename& b);

 private:
  String name_;
};

// isdir false asks for a file, true for a folder.
QM_HOST_API Bool GeFExist(const Filename& name, Bool isdir = false);
// All missing levels; true when the folder is there afterwards. False for an empty name and for a bare one.
QM_HOST_API Bool GeFCreateDirRec(const Filename& name);

#define C4D_PATH_STARTUPWRITE 8
QM_HOST_API const Filename GeGetC4DPath(Int32 whichpath);  // empty for a path that this host doesn't have
QM_HOST_API const Filename GeGetStartupWritePath();        // the user's folder for what modules write

// The folder of this module's file. Compiled into the module.
const Filename GeGetPluginPath();

}  // namespace cinema
