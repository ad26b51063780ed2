#pragma once

#include "commands/options.h"
#include "example_render.h"
#include "watch.h"

namespace quillmere::studio {

struct Steering;

// What a request may ask of.
struct Studio {
  Watch& watch;
  app::SessionOptions session;  // what the commands are given that it runs
  ExampleRender& example;
  Steering* steering = nullptr;  // none: it was started without a scene
};

}  // namespace quillmere::studio
