#include <gmock/gmock.h>

#include <map>

#include "api/application.h"
#include "api/parameters.h"
#include "core/registry.h"
#include "core/substitutes.h"
#include "host_case.h"
#include "panel.h"
#include "prompt.h"
#include "quillmere_videopost.h"
#include "refusal.h"

namespace quillmere {
namespace {

using namespace cinema;

struct Node : EffectCase {
  void catalog(const std::string& content) { write(home / ".quillmere/state.json", content); }
  static DescID idOf(Int32 id) { return DescID::Create(DescLevel(id)); }
  int selection() { return host::readParameter(*node, idOf(QUILLMERE_WORKFLOW))->GetInt32(); }
  std::string selected() { return text(QUILLMERE_WORKFLOW_ID) + " " + text(QUILLMERE_WORKFLOW_PATH); }
  void select(Int32 n) { EXPECT_TRUE(host::writeParameter(*node, idOf(QUILLMERE_WORKFLOW), GeData(n))); }
  // The IDs of the parameters that were added before the host refused one; none when there is no description at all.
  std::vector<int> shownIds() {
    std::vector<int> ids;
    BaseContainer unused;
    for (int id = 2000; id <= 2016; ++id) {
      if (description->GetParameter(idOf(id), unused, nullptr)) ids.push_back(id);
    }
    return ids;
  }
  QuillmereVideoPost effect;
  AutoAlloc<Description> description;
  DESCFLAGS_DESC flags = DESCFLAGS_DESC::NONE;
};

TEST_F(Node, StartsWithItsDefaultsUnlessItIsACopy) {
  catalog(R"([{"id":"a","name":"A"},{"id":"b","name":"FLUX.2 Dev"}])");
  settings() = BaseContainer();
  ASSERT_TRUE(effect.Init(node, true));
  EXPECT_TRUE(settings().IsEmpty());
  ASSERT_TRUE(effect.Init(node, false));
  for (const auto& [id, n] : std::map<int, int>{{2000, 0}, {2002, 2}, {2006, 0}, {2011, 200}, {2012, 1}, {2013, 1}}) {
    EXPECT_EQ(settings().GetInt32(id, -1), n) << id;
  }
  for (const auto& [id, expected] :
       std::map<Int32, std::string>{{2001, ToUtf8(GetDefaultSystemPrompt())},
                                    {2003, ""},
                                    {2004, ""},
                                    {2008, "b"},
                                    {2010, "render"},
                                    {2014, ""},
                                    {2007, (home / ".quillmere/workflows/b.json").string()},
                                    {2015, "Idle"}}) {
    EXPECT_EQ(settings().GetType(id), DA_STRING) << id;
    EXPECT_EQ(text(id), expected) << id;
  }
  EXPECT_EQ(ToUtf8(GetDefaultSystemPrompt()).size(), 203u);
  EXPECT_EQ(host::pathOf(settings().GetFilename(2009)), data / "renders");
  EXPECT_FALSE(exists(data));
  EXPECT_EQ(settings().GetType(2005), DA_NIL);
}

TEST_F(Node, ShowsItsPanelInOrder) {
  catalog(R"([{"id":"a","name":"Same"},{"id":"b","name":"Same"}])");
  Lines rows;
  for (const host::DescriptionEntry& entry : host::describe(*node)) {
    if (entry.group != idOf(1000994)) continue;
    std::string row = std::to_string(entry.id[0].id) + " " + ToUtf8(entry.properties.GetString(1));
    const BaseContainer usual = GetCustomDataTypeDefault(entry.id[0].dtype);
    for (const Int32 key : {5, 6, 10, 16, 17, 21, 26}) {
      if (entry.properties.GetData(key) == usual.GetData(key)) continue;
      row += " " + std::to_string(key) + "=" + std::to_string(entry.properties.GetInt32(key, -1));
    }
    const BaseContainer choices = entry.properties.GetContainer(DESC_CYCLE);
    for (Int32 i = 0; choices.GetIndexId(i) != NOTOK; ++i) {
      row += " " + std::to_string(choices.GetIndexId(i)) + ":" + ToUtf8(choices.GetString(choices.GetIndexId(i)));
    }
    rows.push_back(row + " " + std::to_string(entry.id[0].dtype));
  }
  EXPECT_THAT(
      rows,
      testing::ElementsAreArray(Lines{
          "2000 Unlock System Prompt 16=0 400006001", "2002 Workflow 10=0 16=0 21=200000180 0:None 1:Same 2:Same 15",
          "2005 Camera 10=0 17=5103 21=1009415 133",
          "2006 Guide Mode 10=0 16=0 21=200000180 0:Quick Shading 1:Final Render 15",
          "2001 System Prompt 21=200000007 130", "2003 Prompt 21=200000007 130", "2009 Output Directory 131",
          "2010 Filename Prefix 130", "2015 Status 12", "2011 History Limit 5=1 6=5000 16=200 15",
          "2012 Open Preview After Render 16=1 400006001", "2013 Save History Snapshots 16=1 400006001"}));
}

TEST_F(Node, FollowsTheChosenWorkflowThroughTheCatalogsChanges) {
  const std::string a = R"({"id":"a","name":"A"})", b = R"({"id":"b","name":"B"})";
  catalog(a + b);
  select(2);
  EXPECT_EQ(selection(), 2);
  catalog(b + a);
  EXPECT_EQ(selection(), 1);
  catalog(a);
  EXPECT_EQ(selection(), 0);
  EXPECT_EQ(selected(), "b " + (home / ".quillmere/workflows/b.json").string()) << "it is still rendered with";
  for (const Int32 beyond : {7, 0, -1}) {
    select(1);
    select(beyond);
    EXPECT_EQ(settings().GetInt32(QUILLMERE_WORKFLOW), beyond);
    EXPECT_EQ(selected(), " ");
    EXPECT_EQ(selection(), 0);
  }
}

TEST_F(Node, GreysOutTheSystemPromptUntilItIsUnlocked) {
  const auto enabled = [&](GeListNode* of, Int32 id) {
    return effect.GetDEnabling(of, idOf(id), GeData(), DESCFLAGS_ENABLE::NONE, nullptr);
  };
  EXPECT_FALSE(enabled(node, QUILLMERE_SYSTEM_PROMPT));
  EXPECT_FALSE(enabled(nullptr, QUILLMERE_SYSTEM_PROMPT));
  EXPECT_TRUE(enabled(node, QUILLMERE_PROMPT));
  settings().SetBool(QUILLMERE_UNLOCK_SYSTEM_PROMPT, true);
  EXPECT_TRUE(enabled(node, QUILLMERE_SYSTEM_PROMPT));
}

TEST_F(Node, ComposesThePromptFromTheStoredTexts) {
  for (const auto& [system, prompt, composed] : std::vector<std::tuple<const char*, const char*, const char*>>{
           {"", "a car", "a car"}, {"Keep.", "", "Keep."}, {"Keep.", "a car", "Keep. a car"}, {" ", "x\n", "  x\n"}}) {
    settings().SetString(QUILLMERE_SYSTEM_PROMPT, String(system));
    settings().SetString(QUILLMERE_PROMPT, String(prompt));
    EXPECT_EQ(ToUtf8(ComposePrompt(settings())), composed);
  }
}

TEST_F(Node, StopsItsPanelAtTheFirstParameterThatTheHostRefuses) {
  const std::vector<int> order{2000, 2002, 2005, 2006, 2001, 2003, 2009, 2010, 2015, 2011, 2012, 2013};
  for (std::size_t refused = 0; refused < order.size(); ++refused) {
    SCOPED_TRACE(order[refused]);
    const auto former = host::operations().describeParameter;
    const host::Substitute refusing(
        host::operations().describeParameter,
        [&](Description& of, const DescID& id, const BaseContainer& properties, const DescID& group) {
          return id[0].id != order[refused] && former(of, id, properties, group);
        });
    EXPECT_FALSE(effect.GetDDescription(node, description, flags));
    EXPECT_EQ(flags, DESCFLAGS_DESC::NONE);
    EXPECT_THAT(shownIds(), testing::UnorderedElementsAreArray(order.begin(), order.begin() + long(refused)));
  }
}

TEST_F(Node, ShowsTheSamePanelForAnyNodeAndAfterAnother) {
  EXPECT_FALSE(effect.GetDDescription(node, nullptr, flags));
  for (GeListNode* const asked : {static_cast<GeListNode*>(nullptr), static_cast<GeListNode*>(node)}) {
    ASSERT_TRUE(effect.GetDDescription(asked, description, flags));
    EXPECT_EQ(flags, DESCFLAGS_DESC::LOADED);
    EXPECT_EQ(shownIds().size(), 12U);
  }
}

TEST_F(EffectCase, TheModuleDeclaresItselfAsTheApplicationsBuildWould) {
  const auto declared = host::registrationOf(plugin);
  ASSERT_TRUE(declared);
  EXPECT_EQ(declared->identifier, "net.quillmere.renderer");
  EXPECT_EQ(declared->units, (Lines{"register.cpp", "[reflection registration]"}));
  EXPECT_THAT(declared->entities, testing::ElementsAre(testing::Pair(".reflection", "[reflection registration]")));
  EXPECT_EQ(declared->frameworks.size(), 11U);
  EXPECT_EQ(declared->frameworks[1], "net.maxon.c4d.cinema.framework");
}

TEST_F(EffectCase, TheEffectIsARendererOfOrdinaryPriority) {
  const auto& effect = HostSide<BasePlugin>::parts(*FindPlugin(1060500, PLUGINTYPE::VIDEOPOST));
  EXPECT_EQ(effect.info, 8);
  EXPECT_EQ(effect.disklevel, 0);
  EXPECT_EQ(effect.priority, 0);
}

TEST_F(HostCase, TheModuleWithoutItsResourcesRefusesToInitialise) {
  copyModuleTo(folder / "plugin");
  const std::string refusal = refusalOf<Error>([&] { application.loadPlugin(folder / "plugin"); });
  EXPECT_THAT(refusal, testing::HasSubstr("can't initialise"));
}

}  // namespace
}  // namespace quillmere
