#include <gmock/gmock.h>

#include "catalog/manager_files.h"
#include "catalog/workflow_catalog.h"
#include "room.h"

namespace quillmere {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Catalog : Room {
  Lines read() const {
    Lines texts;
    for (const WorkflowEntry& entry : LoadManagerWorkflows()) texts.push_back(ToUtf8(entry.id + "=" + entry.name));
    return texts;
  }
  const std::filesystem::path present = home / ".quillmere/state.json", legacy = home / ".tallowcrest/state.json";
};

TEST_F(Catalog, PrefersThePresentStateFileToTheLegacyOne) {
  EXPECT_THAT(read(), IsEmpty());
  write(legacy, R"({"id":"old","name":"Old"})");
  EXPECT_THAT(read(), ElementsAre("old=Old"));
  write(present, "");
  EXPECT_THAT(read(), IsEmpty()) << "an empty file counts as present";
}

TEST_F(Catalog, ReadsFlatObjectsInFileOrderAsTheyStand) {
  write(present,
        std::string(20000, ' ') +
            R"({"workflows": [{"id": "b", "tags": ["x", "y"], "name": "Zwölf \u00e9"}, {"id": "", "name": "No"},
    {"name": "No", "id": "order"}, {"id": "nested", "name": "No", "x": {}}, {"id": "b", "name": "say \"hi\""}]})");
  EXPECT_THAT(read(), ElementsAre("b=Zwölf \\u00e9", "b=say \\"));
}

TEST_F(Catalog, IsEmptyWhereTheStateFileIsAFolderOrThereIsNoHome) {
  create_directories(legacy);
  EXPECT_THAT(read(), IsEmpty());
  unsetenv("HOME");
  EXPECT_EQ(ToUtf8(GetStateFile().GetString()), ".tallowcrest/state.json");
  EXPECT_THAT(read(), IsEmpty());
}

TEST(PreferredWorkflow, IsTheFirstThatMentionsTheModelElseTheFirst) {
  using Texts = std::vector<std::pair<const char*, const char*>>;
  for (const auto& [texts, selection] :
       std::vector<std::pair<Texts, int>>{{{}, 0},
                                          {{{"a", "A"}, {"b", "Flux 2"}}, 1},
                                          {{{"a", "A"}, {"b", "É FLUX.2 Dev"}, {"flux2", "C"}}, 2},
                                          {{{"a", "A"}, {"b", "B"}, {"Flux2-Fill", "C"}}, 3}}) {
    std::vector<WorkflowEntry> workflows;
    for (const auto& [id, name] : texts) workflows.push_back({id, name});
    EXPECT_EQ(FindPreferredWorkflowSelection(workflows), selection) << testing::PrintToString(texts);
  }
}

}  // namespace
}  // namespace quillmere
