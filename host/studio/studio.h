#pragma once

#include "commands/options.h"
#include "example_render.h"
#include "watch.h"

namespace quillmere::studio {

// What a request may ask of.
struct Studio {
  Watch& watch;
  app::SessionOptions session;  // what the commands are given that it runs
  ExampleRender& example;
};

}  // namespace quillmere::studio
