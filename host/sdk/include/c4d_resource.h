#pragma once

#include "c4d_file.h"

namespace cinema {

// A module's resource folder as the host has read it.
class GeResource {
 public:
  constexpr GeResource() = default;
  GeResource(const GeResource&) = delete;
  GeResource& operator=(const GeResource&) = delete;

  // Reads the folder "res" beside the module's file, or `path`. A further call reads nothing: it answers whether the
  // resource is there, which after Free it no longer is. `regardIsStopped` has no meaning here.
  Bool Init();
  Bool Init(const Filename& path, Bool regardIsStopped = true);
  void Free();

  LocalResource* Get();  // null before a successful Init

 private:
  LocalResource* resource_ = nullptr;
  Bool asked_ = false;
};

extern GeResource g_resource;

// A text of the module's string table; empty when there is none.
const String& GeLoadString(Int32 id);

}  // namespace cinema
