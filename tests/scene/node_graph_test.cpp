#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gltf_builder.h"

namespace quillmere::scene {
namespace {

using ::testing::HasSubstr;

TEST(NodeGraph, RefusesWhatIsNoForest) {
  // The children of each node, and why they are refused.
  const std::pair<std::vector<std::vector<int>>, const char*> rows[] = {
      {{{0}}, "cycle"},          {{{1}, {2}, {1}}, "more than one parent"},
      {{{}, {2}, {1}}, "cycle"}, {{{2}, {2}, {}}, "more than one parent"},
      {{{5}}, "no node 5"},      {{{-1}}, "no node -1"}};
  for (const auto& [children, refusal] : rows) {
    GltfBuilder builder;
    for (const auto& list : children) builder.add("nodes", {{"children", list}});
    builder.json["scenes"][0]["nodes"] = {0};
    EXPECT_THAT(builder.refusal(), HasSubstr(refusal)) << testing::PrintToString(children);
  }
}

TEST(NodeGraph, MayBeDeeperThanTheStack) {
  GltfBuilder builder;
  constexpr int kDepth = 50000;
  const int mesh = builder.add("meshes", {{"primitives", {builder.triangle()}}});
  auto nodes = nlohmann::json::array();
  for (int i = 0; i < kDepth; ++i) nodes.push_back({{"translation", {0, 0.5, 0}}, {"children", {i + 1}}});
  nodes.push_back({{"mesh", mesh}});
  builder.json["nodes"] = std::move(nodes);
  builder.json["scenes"][0]["nodes"] = {0};
  EXPECT_EQ(builder.load()->at(0).surfaces.at(0).toWorld[3].y, 0.5F * kDepth);
}

TEST(NodeGraph, ShowsOneScene) {
  // What is changed by a merge patch of the document, how many surfaces are shown, and the warning.
  const std::tuple<const char*, nlohmann::json, std::size_t, const char*> rows[] = {
      {"the default one", {{"scene", 1}}, 2, ""},
      {"the first of several", {{"scene", nullptr}}, 1, "no default scene"},
      {"everything", {{"scene", nullptr}, {"scenes", nullptr}}, 3, "no scene"}};
  for (const auto& [name, changes, surfaces, warning] : rows) {
    SCOPED_TRACE(name);
    GltfBuilder builder;
    builder.show(builder.triangle());
    builder.add("nodes", {{"mesh", 0}, {"children", {2}}});
    builder.add("nodes", {{"mesh", 0}});
    builder.add("scenes", {{"nodes", {1}}});
    builder.json.merge_patch(changes);
    const auto scene = builder.load();
    EXPECT_EQ(scene->at(0).surfaces.size(), surfaces);
    EXPECT_TRUE(*warning == '\0' ? scene->warnings().empty() : warnsOf(*scene, warning));
  }
}

}  // namespace
}  // namespace quillmere::scene
