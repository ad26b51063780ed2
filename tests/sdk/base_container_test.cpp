#include <gtest/gtest.h>

#include <functional>

#include "core/atom.h"

namespace cinema {
namespace {

TEST(Container, KeepsTheOrderOfFirstSettingAndReplacesInPlace) {
  BaseContainer container(7);
  for (const Int32 id : {30, 10, 20}) container.SetInt32(id, id);
  container.SetString(10, "ten"_s);
  const BaseContainer copy = container;
  EXPECT_TRUE(container.RemoveData(30) && !container.RemoveData(30));
  container.SetInt32(30, 3);
  const auto ids = [](const BaseContainer& of) {
    std::vector<Int32> found;
    for (Int32 i = 0; of.GetIndexId(i) != NOTOK; ++i) found.push_back(of.GetIndexId(i));
    return found;
  };
  EXPECT_EQ(ids(container), (std::vector<Int32>{10, 20, 30}));
  EXPECT_EQ(ids(copy), (std::vector<Int32>{30, 10, 20}));
  const GeData* data = nullptr;
  EXPECT_EQ(container.FindIndex(20, &data), 1);
  EXPECT_EQ(data->GetInt32(), 20);
  EXPECT_EQ(container.FindIndex(99), NOTOK);
  EXPECT_EQ(container.GetIndexId(-1), NOTOK);
  EXPECT_EQ(copy.GetId(), 7);
  EXPECT_NE(copy, container);
  container = copy;
  EXPECT_EQ(copy, container);
  container.FlushAll();
  EXPECT_TRUE(container.IsEmpty() && copy.IsPopulated());
}

// The presets are values that nothing kept converts to.
TEST(Container, AnotherKindConvertsOrGivesThePreset) {
  BaseContainer inner;
  inner.SetInt32(1, 5);
  const struct {
    const char* kept;
    GeData data;
    Int32 type;
    Bool asBool;
    Int32 asInt;
    Float asFloat;
    const char *asText, *asName;
    bool asContainer;
  } rows[] = {
      {"nothing", GeData(), DA_NIL, true, -99, -99.0, "preset", "preset", false},
      {"true", GeData(true), DA_LONG, true, 1, 1.0, "preset", "preset", false},
      {"0", GeData(0), DA_LONG, false, 0, 0.0, "preset", "preset", false},
      {"7", GeData(7), DA_LONG, true, 7, 7.0, "preset", "preset", false},
      {"-2.9", GeData(-2.9), DA_REAL, true, -2, -2.9, "preset", "preset", false},
      {"1e300", GeData(1e300), DA_REAL, true, INT32_MAX, 1e300, "preset", "preset", false},
      {"0.5f", GeData(0.5f), DA_REAL, true, 0, 0.5, "preset", "preset", false},
      {"whole 64", GeData(Int64{1} << 40, LLONGVALUE()), DA_LLONG, true, -99, -99.0, "preset", "preset", false},
      {"text", GeData("12"), DA_STRING, true, -99, -99.0, "12", "preset", false},
      {"name", GeData(Filename("/n")), DA_FILENAME, true, -99, -99.0, "preset", "/n", false},
      {"container", GeData(inner), DA_CONTAINER, true, -99, -99.0, "preset", "preset", true},
      {"time", GeData(BaseTime(1, 2)), DA_TIME, true, -99, -99.0, "preset", "preset", false},
      {"link", GeData(static_cast<BaseList2D*>(nullptr)), DA_ALIASLINK, true, -99, -99.0, "preset", "preset", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.kept);
    BaseContainer container;
    if (row.type != DA_NIL) container.SetData(1, row.data);
    EXPECT_EQ(container.GetType(1), row.type);
    EXPECT_EQ(container.GetBool(1, true), row.asBool);
    EXPECT_EQ(container.GetInt32(1, -99), row.asInt);
    EXPECT_EQ(container.GetFloat(1, -99.0), row.asFloat);
    EXPECT_EQ(container.GetString(1, "preset"_s), row.asText);
    EXPECT_EQ(container.GetFilename(1, "preset"), Filename(row.asName));
    EXPECT_EQ(container.GetContainerInstance(1) != nullptr, row.asContainer);
    EXPECT_EQ(container.GetContainer(1).GetInt32(1), row.asContainer ? 5 : 0);
    EXPECT_EQ(container.GetLink(1, nullptr), nullptr);
    EXPECT_EQ(row.data, GeData(row.data));
  }
  BaseContainer outer;
  outer.SetContainer(1, inner);
  outer.GetContainerInstanceWritable(1)->SetInt32(1, 6);
  EXPECT_EQ(outer.GetContainer(1).GetInt32(1), 6);
  EXPECT_EQ(inner.GetInt32(1), 5);
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
  EXPECT_EQ(copy.GetObjectLink(1, document.get()), target);
  EXPECT_EQ(copy.GetBaseLink(1)->GetLink(const_cast<const BaseDocument*>(document.get())), target);
  EXPECT_EQ(copy, container);
  container.SetLink(1, nullptr);
  EXPECT_NE(copy, container);
  camera.reset();
  EXPECT_EQ(copy.GetLink(1, document.get()), nullptr);
  EXPECT_EQ(copy.GetData(1).GetLink(nullptr), nullptr);
}

}  // namespace
}  // namespace cinema
