#include <gtest/gtest.h>

#include <sstream>
#include <tuple>
#include <vector>

#include "api/application.h"
#include "c4d.h"
#include "core/atom.h"
#include "core/text.h"
#include "temporary_folder.h"
#include "vpbase.h"

namespace cinema {
namespace {

using quillmere::host::filenameOf;
using quillmere::host::fromUtf8;
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

TEST(Text, Utf8GoesThroughUnchangedAndEachOffendingByteBecomesOneMark) {
  const auto marks = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "\xEF\xBF\xBD";
    return text;
  };
  const struct {
    const char* given;
    std::string kept;
  } rows[] = {
      {"", ""},
      {"plain", "plain"},
      {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA8", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xA8"},
      {"a\xFFz", "a" + marks(1) + "z"},
      {"cut \xE2\x82", "cut " + marks(2)},
      {"\xE2\x82z", marks(2) + "z"},
      {"\xC0\xAF", marks(2)},                                            // overlong
      {"\xE0\x80\xAF", marks(3)},                                        // overlong
      {"\xED\xA0\x80", marks(3)},                                        // surrogate
      {"\xF4\x90\x80\x80", marks(4)},                                    // above U+10FFFF
      {"\xF4\x8F\xBF\xBF\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF\xEF\xBF\xBF"},  // the last ones there are
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.given);
    for (const STRINGENCODING encoding : {STRINGENCODING::XBIT, STRINGENCODING::UTF8}) {
      const String text(row.given, encoding);
      EXPECT_EQ(text.GetCStringLen(encoding), static_cast<Int32>(row.kept.size()));
      EXPECT_EQ(toUtf8(text), row.kept);
    }
  }
  const std::string withNul("a\0b", 3);
  EXPECT_EQ(toUtf8(fromUtf8(withNul)), withNul);
  EXPECT_EQ(toUtf8(String("\xC3\xA4z", STRINGENCODING::BIT7)), "?z");
}

TEST(Text, ACopyIntoABufferIsCutButAlwaysEnded) {
  const String text("four");
  for (const auto& [room, expected] :
       std::vector<std::pair<Int, std::string>>{{9, "four"}, {5, "four"}, {4, "fou"}, {1, ""}}) {
    SCOPED_TRACE(room);
    char buffer[16] = "~~~~~~~~~~~~~~~";
    EXPECT_EQ(text.GetCString(buffer, room), 4);
    EXPECT_EQ(buffer, expected);
    EXPECT_EQ(buffer[room], '~');
  }
  char untouched = '~';
  text.GetCString(&untouched, 0);
  EXPECT_EQ(untouched, '~');
  Char* copy = text.GetCStringCopy();
  EXPECT_STREQ(copy, "four");
  DeleteMem(copy);
  EXPECT_EQ(copy, nullptr);
  EXPECT_EQ(String().GetCStringCopy(), nullptr);
}

TEST(Text, PiecesJoinAndCompareByCodePoint) {
  String text = "x" + String("y") + "z" + String("\xC3\xA4"_s);
  text += text;
  EXPECT_EQ(text, "xyz\xC3\xA4xyz\xC3\xA4");
  EXPECT_TRUE(String("Z") < String("a") && String("a") < "\xC3\xA4" && "\xEF\xBF\xBF" < String("\xF0\x90\x80\x80"));
  EXPECT_TRUE(String("A") != "a" && "a" != String("A") && String() == "" && String(nullptr).IsEmpty());
  String moved = std::move(text);
  text = moved;
  EXPECT_EQ(text, moved);
  EXPECT_EQ(&"same"_s, &"same"_s);
  EXPECT_EQ(String::IntToString(0) + " " + String::IntToString(INT64_MIN), "0 -9223372036854775808");
}

std::string text(const Filename& name) {
  return toUtf8(name.GetString());
}

TEST(FilenameJoining, OnlyTheLastComponentIsAppendedSoNothingLeavesItsFolder) {
  const struct {
    const char *left, *right, *joined;
  } rows[] = {
      {"/base", "a", "/base/a"},       {"/base/", "a/", "/base/a"},  {"/base", "a/b", "/base/b"},
      {"/base", "/etc/x", "/base/x"},  {"/base", "../x", "/base/x"}, {"/base", "..", "/base"},
      {"/base", "x/..", "/base"},      {"/base", ".", "/base"},      {"/base", "", "/base"},
      {"/base", "/", "/base"},         {"", "a/b", "a/b"},           {"/", "a", "/a"},
      {"rel", "a.json", "rel/a.json"}, {"/base", "x.", "/base/x."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.left) + " + " + row.right);
    EXPECT_EQ(text(Filename(row.left) + row.right), row.joined);
    Filename name(row.left);
    name += String(row.right);
    EXPECT_EQ(text(name), row.joined);
  }
}

TEST(FileSystem, ExistenceIsAskedForFilesAndFoldersApart) {
  const TemporaryFolder folder;
  const Filename file = filenameOf(folder.write("f", "x"));
  EXPECT_TRUE(GeFExist(file) && !GeFExist(file, true));
  EXPECT_TRUE(GeFExist(filenameOf(folder.path()), true) && !GeFExist(filenameOf(folder.path())));
  EXPECT_FALSE(GeFExist(Filename()) || GeFExist(Filename(), true) || GeFExist(file + "none"));
  EXPECT_FALSE(GeFExist(Filename(fromUtf8(folder.path().string() + "/f" + std::string("\0more", 5)))));
}

TEST(FileSystem, FoldersAreMadeWithTheirParents) {
  const TemporaryFolder folder;
  folder.write("file", "x");
  for (const auto& [name, made] : std::vector<std::pair<std::string, bool>>{
           {"/a", true}, {"/b/c", true}, {"/file", false}, {"/file/x", false}, {"/" + std::string(300, 'n'), false}}) {
    const Filename path(fromUtf8(folder.path().string() + name));
    EXPECT_EQ(GeFCreateDirRec(path), made) << name;
    EXPECT_EQ(GeFExist(path, true), made) << name;
    EXPECT_EQ(GeFCreateDirRec(path), made) << name << " a second time";
  }
  for (const Filename& name : {Filename(), Filename("bare"), Filename("missing/below")})
    EXPECT_FALSE(GeFCreateDirRec(name));
}

}  // namespace
}  // namespace cinema
