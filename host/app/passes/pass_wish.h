#pragma once

#include <optional>
#include <string>
#include <vector>

#include "pass_pictures.h"

namespace quillmere::app {

// The passes that a workflow asks for.
struct PassWish {
  render::PassSet passes;            // pictures
  std::optional<NormalKind> normal;  // none: whichever the host is told
  std::vector<std::string> mattes;   // names of objects or materials, as the workflow has them

  bool empty() const { return passes.empty() && mattes.empty(); }
};

// What the helper's answer about a workflow says under "passes": none where it says nothing. Throws Failure for what
// no host can draw.
PassWish wishIn(const Json& answer);

// A matte that is asked for, found in a scene.
struct WishedMatte {
  std::string name;  // as the scene has it
  enum class Of { Object, Material } of = Of::Object;
};

// Of the same name, else of one that differs in the case of letters alone; objects go before materials. Throws Failure
// for a name that is neither's.
WishedMatte matteCalled(const std::string& name, const SceneNames& names);

}  // namespace quillmere::app
