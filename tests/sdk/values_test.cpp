#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "api/application.h"
#include "c4d.h"
#include "core/atom.h"
#include "core/text.h"
#include "vpbase.h"

namespace cinema {
namespace {

using quillmere::host::toUtf8;

TEST(Container, KeepsTheOrderOfFirstSettingAndReplacesInPlace) {
  BaseContainer container(7);
  for (const Int32 id : {30, 10, 20}) container.SetInt32(id, id);
  container.SetString(10, "ten"_s);
  const BaseContainer copy = container;
  container.SetInt32(40, 3);
  const auto ids = [](const BaseContainer& of) {
    std::vector<Int32> found;
    for (Int32 i = 0; of.GetIndexId(i) != NOTOK; ++i) found.push_back(of.GetIndexId(i));
    return found;
  };
  EXPECT_EQ(ids(container), (std::vector<Int32>{30, 10, 20, 40}));
  EXPECT_EQ(ids(copy), (std::vector<Int32>{30, 10, 20}));
  EXPECT_EQ(container.GetIndexId(-1), NOTOK);
  EXPECT_EQ(copy.GetId(), 7);
  EXPECT_NE(copy, container);
  container = copy;
  EXPECT_EQ(copy, container);
  container = BaseContainer();
  EXPECT_TRUE(container.IsEmpty() && copy.IsPopulated());
}

// The presets are values that nothing kept converts to.
TEST(Container, AnotherKindConvertsOrGivesThePreset) {
  BaseContainer inner;
  inner.SetInt32(1, 5);
  const auto read = [](const BaseContainer& from) {
    std::ostringstream text;
    text << from.GetBool(1, true) << " " << from.GetInt32(1, -99) << " " << from.GetFloat(1, -99.0) << " "
         << toUtf8(from.GetString(1, "-"_s)) << " " << toUtf8(from.GetFilename(1, "-").GetString()) << " "
         << from.GetContainer(1).GetInt32(1) << (from.GetContainerInstance(1) ? " inside" : "")
         << (from.GetLink(1, nullptr) ? " linked" : "");
    return text.str();
  };
  const std::tuple<GeData, Int32, const char*> rows[] = {
      // kept as, read as bool, int, float, text, file name and container
      {GeData(), DA_NIL, "1 -99 -99 - - 0"},
      {GeData(true), DA_LONG, "1 1 1 - - 0"},
      {GeData(0), DA_LONG, "0 0 0 - - 0"},
      {GeData(7), DA_LONG, "1 7 7 - - 0"},
      {GeData(-2.9), DA_REAL, "1 -2 -2.9 - - 0"},
      {GeData(1e300), DA_REAL, "1 2147483647 1e+300 - - 0"},
      {GeData(Int64{1} << 40, LLONGVALUE), DA_LLONG, "1 -99 -99 - - 0"},
      {GeData("12"), DA_STRING, "1 -99 -99 12 - 0"},
      {GeData(Filename("/n")), DA_FILENAME, "1 -99 -99 - /n 0"},
      {GeData(inner), DA_CONTAINER, "1 -99 -99 - - 5 inside"},
      {GeData(static_cast<BaseList2D*>(nullptr)), DA_ALIASLINK, "1 -99 -99 - - 0"},
  };
  for (const auto& [data, type, expected] : rows) {
    SCOPED_TRACE(type);
    BaseContainer container;
    if (type != DA_NIL) container.SetData(1, data);
    EXPECT_EQ(container.GetType(1), type);
    EXPECT_EQ(read(container), expected);
    EXPECT_EQ(data, GeData(data));
  }
  BaseContainer outer;
  outer.SetContainer(1, inner);
  inner.SetInt32(1, 6);
  EXPECT_EQ(outer.GetContainer(1).GetInt32(1), 5);
}

using Documents = HostSide<BaseDocument>;
using Objects = HostSide<BaseObject>;

Objects::Owner makeObject(BaseDocument* document, Int32 type) {
  auto parts = std::make_unique<AtomParts>(type, std::vector<Int32>{Obase});
  parts->document = document;
  return Objects::make(std::move(parts));
}

TEST(Link, LeadsToAnObjectOfItsDocumentAndKindUntilThatIsGone) {
  const auto document = Documents::make(std::make_unique<AtomParts>(1));
  const auto other = Documents::make(std::make_unique<AtomParts>(1));
  auto camera = makeObject(document.get(), Ocamera);
  BaseContainer container;
  container.SetLink(1, camera.get());
  const BaseContainer copy = container;
  BaseObject* const target = camera.get();
  for (const auto& [instance, found] :
       std::vector<std::pair<Int32, bool>>{{0, true}, {Ocamera, true}, {Obase, true}, {5100, false}}) {
    SCOPED_TRACE(instance);
    EXPECT_EQ(container.GetLink(1, document.get(), instance), found ? target : nullptr);
  }
  EXPECT_EQ(container.GetLink(1, other.get()), nullptr);
  EXPECT_EQ(container.GetLink(1, nullptr), target);
  EXPECT_EQ(copy.GetLink(1, const_cast<const BaseDocument*>(document.get())), target);
  EXPECT_EQ(GeData(copy.GetData(1).GetBaseLink()), copy.GetData(1));
  EXPECT_EQ(copy, container);
  container.SetLink(1, nullptr);
  EXPECT_NE(copy, container);
  camera.reset();
  EXPECT_EQ(copy.GetLink(1, document.get()), nullptr);
  EXPECT_EQ(copy.GetData(1).GetLink(nullptr), nullptr);
}

TEST(Time, FramesAreCutFromAReducedFraction) {
  const struct {
    BaseTime time;
    Float numerator, denominator, fps;
    Int32 frame;
  } rows[] = {
      {BaseTime(), 0, 1, 30, 0},
      {BaseTime(0.5), 1, 2, 30, 15},
      {BaseTime(1.0 / 3.0), 333, 1000, 30, 9},  // kept to the millisecond
      {BaseTime(7, 30), 7, 30, 30, 7},
      {BaseTime(29, 24), 29, 24, 24, 29},
      {BaseTime(-3, 30), -1, 10, 30, -3},
      {BaseTime(3, -30), -1, 10, 25, -2},  // -25 / 10
      {BaseTime(-0.0), 0, 1, 30, 0},
      {BaseTime(1, 0), 1, 1, 30, 30},
      {BaseTime(1e300, 1e-300), 9007199254740992.0, 1, 30, INT32_MAX},
      {BaseTime(-1e300), -9007199254740992.0 / 8, 125, 1e9, INT32_MIN},
      {BaseTime(__builtin_nan("")), 0, 1, 30, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    EXPECT_EQ(row.time, BaseTime(row.numerator, row.denominator));
    EXPECT_EQ(row.time.GetFrame(row.fps), row.frame);
  }
  EXPECT_EQ(BaseTime(2, 4), BaseTime(0.5));
}

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
