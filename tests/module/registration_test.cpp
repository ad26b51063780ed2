#include "api/application.h"

#include <gmock/gmock.h>

#include "core/registry.h"
#include "refusal.h"
#include "room.h"

namespace quillmere {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
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

TEST_F(EffectRoom, TheEffectIsARendererOfOrdinaryPriority) {
  const cinema::BasePlugin* const effect = cinema::FindPlugin(1060500, cinema::PLUGINTYPE::VIDEOPOST);
  const auto& registered = cinema::HostSide<cinema::BasePlugin>::parts(*effect);
  EXPECT_EQ(registered.info, 8);
  EXPECT_EQ(registered.disklevel, 0);
  EXPECT_EQ(registered.priority, 0);
}

TEST_F(Room, TheModuleWithoutItsResourcesRefusesToInitialise) {
  copyModuleTo(folder / "plugin");
  EXPECT_THAT(refusalOf<Error>([&] { application.loadPlugin(folder / "plugin"); }), HasSubstr("can't initialise"));
}

}  // namespace
}  // namespace quillmere
