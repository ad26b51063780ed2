#pragma once

#include "ge_prepass.h"

// What a module says of itself before any of its code runs, exported beside c4d_main. The application learns the same
// from registration code that its SDK generates; here project/registration.py writes the constant into the module.
// Plain data, so that the host can read it from a module of any compiler. Lists end with null.
struct QuillmereHostEntity {
  const char* name;
  const char* unit;  // the translation unit under which it is registered
};

struct QuillmereHostRegistration {
  const char* identifier;  // reversed domain
  const char* const* units;
  const QuillmereHostEntity* entities;
  const char* const* frameworks;  // of the host, in the order in which they are declared
};

extern "C" QM_HOST_API const QuillmereHostRegistration quillmere_host_registration;
