#include "panel.h"

#include <gmock/gmock.h>

#include "core/substitutes.h"
#include "quillmere_videopost.h"
#include "room.h"

namespace quillmere {
namespace {

using namespace cinema;

struct Panel : EffectRoom {
  // The IDs of the parameters that were added before the host refused one; none when there is no description at all.
  std::vector<int> shownIds() {
    std::vector<int> ids;
    BaseContainer unused;
    for (int id = 2000; id <= 2016; ++id) {
      if (description->GetParameter(DescID::Create(DescLevel(id)), unused, nullptr)) ids.push_back(id);
    }
    return ids;
  }
  AutoAlloc<Description> description;
  DESCFLAGS_DESC flags = DESCFLAGS_DESC::NONE;
  QuillmereVideoPost effect;
};

TEST_F(Panel, StopsAtTheFirstParameterThatTheHostRefuses) {
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

TEST_F(Panel, DoesNotDependOnTheNodeOrOnWhatWasThereBefore) {
  EXPECT_FALSE(effect.GetDDescription(node, nullptr, flags));
  for (GeListNode* const asked : {static_cast<GeListNode*>(nullptr), static_cast<GeListNode*>(node)}) {
    ASSERT_TRUE(effect.GetDDescription(asked, description, flags));
    EXPECT_EQ(flags, DESCFLAGS_DESC::LOADED);
    EXPECT_EQ(shownIds().size(), 12U);
  }
}

TEST(Label, FallsBackToTheFieldsOwnWord) {
  for (const auto& [field, id, label] :
       std::vector<std::tuple<Field, Int32, std::string>>{{Field::TextArea, 2004, "Refine Prompt"},
                                                          {Field::TextLine, 2001, "System Prompt"},
                                                          {Field::Path, 2007, "Workflow"},
                                                          {Field::StaticText, 2014, "Last History Entry"},
                                                          {Field::Toggle, 2011, "Toggle"},
                                                          {Field::TextArea, 2009, "Text"},
                                                          {Field::Path, 2003, "Path"},
                                                          {Field::StaticText, 2010, "Status"},
                                                          {Field::Integer, 2002, "Value"}}) {
    EXPECT_EQ(LabelOf(field, id), label) << id;
  }
}

}  // namespace
}  // namespace quillmere
