#include "api/application.h"

#include <gmock/gmock.h>

#include "room.h"

namespace quillmere {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST_F(EffectRoom, TheModuleDeclaresItselfAsTheApplicationsBuildWould) {
  const auto declared = host::registrationOf(plugin);
  ASSERT_TRUE(declared);
  EXPECT_EQ(declared->identifier, "net.quillmere.renderer");
  EXPECT_THAT(declared->units, ElementsAre("register.cpp", "[reflection registration]"));
  EXPECT_THAT(declared->entities, ElementsAre(Pair(".reflection", "[reflection registration]")));
  EXPECT_THAT(
      declared->frameworks,
      ElementsAre("net.maxon.asset.framework", "net.maxon.c4d.cinema.framework",
                  "net.maxon.c4d.cinema_hybrid.framework", "net.maxon.core.framework", "net.maxon.crypt.framework",
                  "net.maxon.graph.framework", "net.maxon.math.framework", "net.maxon.mesh_misc.framework",
                  "net.maxon.misc.framework", "net.maxon.modeling_geom.framework", "net.maxon.nodes.framework"));
}

}  // namespace
}  // namespace quillmere
