#include "history/history_snapshots.h"

#include "room.h"

namespace quillmere {
namespace {

using HistorySnapshots = Room;

TEST_F(HistorySnapshots, StandInAFolderNamedAfterTheSavedDocument) {
  for (const auto& [name, sanitized] : std::vector<std::pair<const char*, const char*>>{
           {"My Scene.gltf", "My_Scene.gltf"}, {"a:b\\c é.gltf", "a-b-c_é.gltf"}}) {
    write(folder / name, R"({"asset":{"version":"2.0"}})");
    host::Document saved(folder / name);
    const auto entry = QuillmereHistory::BuildSnapshotPath(&saved.api(), "a", -3, "json");
    EXPECT_EQ(host::pathOf(entry), data / "history" / sanitized / "a_f-3.json");
    EXPECT_TRUE(is_directory(data / "history" / sanitized));
  }
  EXPECT_EQ(ToUtf8(QuillmereSanitizeName("/ /")), "-_-");
  EXPECT_EQ(host::pathOf(QuillmereHistory::GetDocumentHistoryRoot(nullptr)), data / "history");
}

}  // namespace
}  // namespace quillmere
