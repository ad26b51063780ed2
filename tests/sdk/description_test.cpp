#include <gtest/gtest.h>

#include "api/application.h"
#include "c4d.h"
#include "vpbase.h"

namespace cinema {
namespace {

DescID address(Int32 id, Int32 type) {
  return DescID::Create(DescLevel(id, type, 0));
}

TEST(Address, LevelsAgreeWhereNeitherLeavesTheTypeOpen) {
  const struct {
    DescID a, b;
    bool equal;
  } rows[] = {
      {address(1, 0), address(1, 130), true},
      {address(1, 15), address(1, 130), false},
      {address(1, 15), address(2, 15), false},
      {DescID::Create(DescLevel(1, 0, 5)), DescID::Create(DescLevel(1, 0, 6)), false},
      {address(1, 0), DescID::Create(DescLevel(1), DescLevel(2)), false},
      {DescID::Create(DescLevel(1), DescLevel(2)), address(1, 0), false},
      {DescID(), DescID(), true},
      {DescID(), address(1, 0), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    EXPECT_EQ(row.a == row.b, row.equal);
    EXPECT_EQ(row.a != row.b, !row.equal);
  }
  EXPECT_EQ(ConstDescID(DescLevel(1, 2, 3))[0].creator, 3);
  EXPECT_EQ(address(1, 2)[1].id, 0);
  EXPECT_EQ(address(1, 2)[-1].id, 0);
}

TEST(Describing, AParameterNeedsAnAddressAndAGroupThatIsThere) {
  quillmere::host::Events events;
  const quillmere::host::Application application("/nowhere", events);
  AutoAlloc<Description> description;
  const DescID group = address(ID_VIDEOPOSTPROPERTIES, DTYPE_GROUP), first = address(1, DTYPE_LONG);
  BaseContainer properties = GetCustomDataTypeDefault(DTYPE_LONG), unused;
  EXPECT_FALSE(description->SetParameter(first, properties, group));
  ASSERT_TRUE(description->LoadDescription("VPbase"));
  EXPECT_FALSE(description->SetParameter(DescID(), properties, group));
  EXPECT_FALSE(description->SetParameter(group, properties, group));
  EXPECT_FALSE(description->SetParameter(first, properties, address(5, DTYPE_GROUP)));
  EXPECT_TRUE(description->SetParameter(first, properties, group));
  EXPECT_FALSE(description->SetParameter(address(2, DTYPE_LONG), properties, first)) << "into what is no group";
  EXPECT_TRUE(description->SetParameter(address(2, DTYPE_LONG), properties, DescID()));
  properties.SetInt32(DESC_MIN, 4);
  EXPECT_TRUE(description->SetParameter(first, properties, group));
  EXPECT_EQ(description->GetParameter(first, unused, nullptr)->GetInt32(DESC_MIN), 4);
  EXPECT_EQ(description->GetParameter(address(1, 0), unused, nullptr)->GetInt32(DESC_MIN), 4);
  EXPECT_FALSE(description->LoadDescription("VPunknown"));
  EXPECT_EQ(description->GetParameter(group, unused, nullptr), nullptr);
}

}  // namespace
}  // namespace cinema
