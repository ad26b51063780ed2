#include <gtest/gtest.h>

#include <cstdlib>

#include "gltf_builder.h"

namespace quillmere::scene {
namespace {

TEST(ExampleScene, IsTheSameEveryTimeAndFullyUnderstood) {
  const TemporaryFolder folder;
  for (const std::string name : {"first.glb", "second.glb"}) {
    const std::string command = "'" PYTHON "' '" HARBOUR_SCRIPT "' '" + (folder / name).string() + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
  }
  const std::string bytes = folder.contentOf("first.glb");
  EXPECT_EQ(bytes, folder.contentOf("second.glb"));
  EXPECT_LT(bytes.size(), 1000000U);

  const auto scene = load(folder / "first.glb");
  EXPECT_TRUE(scene->warnings().empty()) << testing::PrintToString(scene->warnings());
  EXPECT_EQ(scene->cameras().size(), 5U);
  EXPECT_EQ(scene->duration(), 8.0);
  EXPECT_FALSE(scene->at(3).lights.empty());
}

}  // namespace
}  // namespace quillmere::scene
