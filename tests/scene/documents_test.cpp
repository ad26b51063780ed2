#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gltf_builder.h"
#include "refusal.h"
#include "scene/gltf_document.h"

namespace quillmere::scene {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

TEST(Documents, SayWhatTheyLeaveOutAndWhyTheyAreRefused) {
  struct Row {
    const char* place;     // in the document
    nlohmann::json value;  // that is put there; null takes away what is
    const char* told;
  };
  GltfBuilder builder = richScene();
  const int lone = builder.accessor<float>({0, 0, 1}, "VEC3"), falling = builder.accessor<float>({1, 0}, "SCALAR");
  const int far = builder.accessor<std::uint16_t>({0, 1, 3}, "SCALAR");
  const int thirdJoint = builder.accessor<std::uint8_t>({0, 0, 0, 0, 2, 9, 0, 0, 0, 0, 0, 0}, "VEC4");
  const auto load = [&builder](const Row& row) {
    GltfBuilder changed = builder;
    const nlohmann::json::json_pointer place(row.place);
    changed.json[place] = row.value;
    if (row.value.is_null()) changed.json[place.parent_pointer()].erase(place.back());
    return changed.load();
  };
  const Row leftOut[] = {
      {"/animations/0/channels/1", builder.json["animations"][0]["channels"][0], "moves the same twice"},
      {"/animations/0/channels/0/target/path", "pointer", "not played"},
      {"/nodes/0/matrix", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, "has a matrix"},
      {"/meshes/0/primitives/0/mode", 1, "points and lines"},
      {"/meshes/0/primitives/0/attributes/POSITION", nullptr, "without positions"},
      {"/meshes/0/primitives/0/attributes/COLOR_1", 0, "first set of vertex colours"},
      {"/extensionsUsed", {"KHR_materials_sheen"}, "KHR_materials_sheen"},
      {"/cameras/0/perspective/yfov", -1, "the angle of camera 'Camera'"},
      {"/materials/0/name", "Sail", "'Sail' is shown without its texture"},
      {"/images/0", {{"uri", "missing.png"}}, "no such file"},
      {"/images/0", {{"uri", "../outside.png"}}, "own folder"},
  };
  for (const Row& row : leftOut) EXPECT_TRUE(warnsOf(*load(row), row.told)) << row.place << " " << row.value;
  const Row refused[] = {
      {"/asset/version", "1.0", "only glTF 2 is read"},
      {"/extensionsRequired", {"EXT_meshopt_compression"}, "requires the extension EXT_meshopt"},
      {"/animations/0/samplers/0/output", lone, "its key frames need"},
      {"/animations/0/samplers/0/input", falling, "back in time"},
      {"/animations/0/channels/0/sampler", 1, "no animation sampler 1"},
      {"/animations/0/channels/0/target/node", 99, "no node 99"},
      {"/meshes/0/primitives/0/indices", far, "go up to 3, but there are only 3 vertices"},
      {"/meshes/0/primitives/0/indices", falling, "unsigned integers"},
      {"/meshes/0/primitives/0/attributes/NORMAL", lone, "1 elements where the primitive has 3"},
      {"/meshes/0/primitives/0/attributes/JOINTS_0", thirdJoint, "joint 2 of a skin with 2"},
      {"/meshes/0/primitives/0/material", 1, "no material 1"},
      {"/meshes/0/primitives/0/material", 2147483647, "no material 2147483647"},
      {"/images/0", {{"bufferView", 55}}, "55"},
      {"/skins/0/joints", {0, 77}, "no node 77"},
      {"/skins/0/joints", {0, 0, 0}, "more joints than inverse bind matrices"},
      {"/nodes/1/extensions/EXT_mesh_gpu_instancing/attributes/SCALE", lone, "unequal numbers"},
  };
  for (const Row& row : refused) {
    const std::string refusal = refusalOf<Error>([&] { load(row); });
    EXPECT_THAT(refusal, AllOf(HasSubstr("scene.glb': "), HasSubstr(row.told))) << row.place << " " << row.value;
  }
}

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

TEST(NeighbourFiles, LieBesideTheSceneOrBelow) {
  const std::filesystem::path folder = "/scenes/boat";
  for (const auto& [uri, expected] : std::vector<std::pair<std::string, std::string>>{
           {"hull.bin", "/scenes/boat/hull.bin"},
           {"a%20b+c.bin", "/scenes/boat/a b+c.bin"},
           {"maps/../hull.bin", "/scenes/boat/hull.bin"},
           {"./maps/1%.png", "/scenes/boat/maps/1%.png"},
           {"..hidden", "/scenes/boat/..hidden"},
       }) {
    EXPECT_EQ(resolveReference(folder, uri), expected) << uri;
  }
  for (const std::string uri :
       {"", "/etc/passwd", "../secret", "a/../../secret", "%2E%2E/secret", "..%2Fsecret", "file:///etc/passwd",
        "https://example.org/a.bin", "C:/a.bin", "data:text/html;base64,AAAA", "a%00b"}) {
    EXPECT_THROW(resolveReference(folder, uri), Error) << uri;
  }
}

std::string documentWithBuffer(const std::string& uri, int length) {
  return nlohmann::json{{"asset", {{"version", "2.0"}}},
                        {"scenes", {nlohmann::json::object()}},
                        {"buffers", {{{"uri", uri}, {"byteLength", length}}}}}
      .dump();
}

TEST(NeighbourFiles, HoldBuffersOrTheSceneIsRefused) {
  const TemporaryFolder folder;
  folder.write("data/hull 1+2.bin", "12345678");
  EXPECT_NO_THROW(load(folder.write("good.gltf", documentWithBuffer("data/hull%201+2.bin", 8))));
  std::filesystem::create_directory(folder / "folder.bin");
  const std::tuple<const char*, int, const char*> rows[] = {{"gone.bin", 8, "no such file"},
                                                            {"folder.bin", 8, "not a regular file"},
                                                            {"data/hull%201+2.bin", 9, "size mismatch"},
                                                            {"../x.bin", 8, "own folder"}};
  for (const auto& [uri, length, refusal] : rows) {
    const auto bad = folder.write("bad.gltf", documentWithBuffer(uri, length));
    EXPECT_THAT(refusalOf<Error>([&] { load(bad); }), HasSubstr(refusal)) << uri;
  }
}

TEST(FilesOfOtherKinds, AreCalledByTheirNameWithAWayToGltf) {
  const TemporaryFolder folder;
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"a.fbx", "Kaydara FBX Binary  ", "an FBX file; only glTF 2.0 is read: import it"},
      {"b.gltf", "; FBX 7.4.0 project file", "an FBX file"},
      {"c.usdz", "PK\x03\x04 etc", "a USD file"},
      {"d.blend", "\x28\xB5\x2F\xFD",
       "a Blender file; only glTF 2.0 is read: open it in Blender and use File > Export"},
      {"e.C4D", "QC4DC4D6",
       "a Cinema 4D file; only glTF 2.0 is read: open it in Cinema 4D and use File > Export > glTF"},
      {"f.obj", "# a comment\nv 0 0 0", "a Wavefront OBJ file"},
      {"g.xml", "<?xml version=\"1.0\"?>\n<COLLADA xmlns", "a COLLADA file"},
      {"h.glb", "version https://git-lfs.github.com/spec/v1", "git lfs pull"},
      {"i.glb", "\n<!DOCTYPE html><html>", "a web page"},
      {"j.abc", "Ogawa\xFF", "an Alembic file"},
      {"k.fbx", "{\"asset\": 5", "JSON text is damaged"},
      {"l.glb", "PK\x03\x04", "an archive; unpack it"}};
  for (const auto& [name, content, refusal] : rows) {
    const auto file = folder.write(name, content);
    EXPECT_THAT(refusalOf<Error>([&] { load(file); }), HasSubstr(refusal)) << name;
  }
}

TEST(Objects, AreCalledByTheirNodeTheirMeshAndWhereTheyStand) {
  GltfBuilder builder;
  const int hull = builder.add("meshes", {{"name", "Hull"}, {"primitives", {builder.triangle(), builder.triangle()}}});
  const int bare = builder.add("meshes", {{"primitives", {builder.triangle()}}});
  for (const char* boat : {"Ada", "Ida", "Ida"}) {
    const int mast = builder.add("nodes", {{"name", "Mast"}, {"mesh", bare}});
    builder.addNode({{"name", boat}, {"children", {mast}}});
  }
  builder.addNode({{"mesh", hull}});
  builder.addNode({{"mesh", bare}});
  const auto scene = builder.load();
  EXPECT_THAT(scene->objects(), testing::ElementsAre("Ada/Mast", "Ida/Mast", "Ida/Mast.1", "Hull", "default"));
  std::vector<std::string> shown;
  for (const Surface& surface : scene->at(0).surfaces) {
    shown.push_back(scene->objects().at(static_cast<std::size_t>(surface.object)));
  }
  EXPECT_THAT(shown, testing::ElementsAre("Ada/Mast", "Ida/Mast", "Ida/Mast.1", "Hull", "Hull", "default"));
}

}  // namespace
}  // namespace quillmere::scene
