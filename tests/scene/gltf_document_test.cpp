#include "scene/gltf_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gltf_builder.h"
#include "refusal.h"

namespace quillmere::scene {
namespace {

using ::testing::HasSubstr;

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

}  // namespace
}  // namespace quillmere::scene
