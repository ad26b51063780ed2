#include "door/application.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

#include "door/registration.h"
#include "door/text.h"
#include "refusal.h"
#include "temporary_folder.h"
#include "vpbase.h"

namespace quillmere::host {
namespace {

namespace fs = std::filesystem;
using namespace cinema;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr Int32 kEffect = 1000001;

struct Console : Events {
  void console(const std::string& line) override { lines.push_back(line); }
  std::vector<std::string> lines;
};

std::vector<std::string> split(const std::string& list) {
  std::vector<std::string> parts;
  std::istringstream stream(list);
  for (std::string part; std::getline(stream, part, '|');) parts.push_back(part);
  return parts;
}

std::string firstProbe() {
  return split(QM_PROBE_MODULES).front();
}

// A plug-in folder with everything in order.
void install(const TemporaryFolder& folder, const std::string& module) {
  fs::copy_file(module, folder / "probe.xso64");
  folder.write("res/c4d_symbols.h", "enum { IDS_PROBE = 10000, _DUMMY_ };");
  folder.write("res/strings_en-US/c4d_strings.str", "STRINGTABLE { IDS_PROBE \"Probe\"; }");
  folder.write("res/strings_de-DE/c4d_strings.str", "STRINGTABLE { IDS_PROBE \"F\xC3\xBChler\"; }");
  folder.write("res/description/vpprobe.h", "enum { PROBE_PLAIN = 3001, PROBE_BEFORE };");
  folder.write("res/description/vpprobe.res",
               "CONTAINER VPprobe { NAME VPprobe; INCLUDE VPbase;\n"
               "  STRING PROBE_BEFORE { }\n"
               "  GROUP ID_VIDEOPOSTPROPERTIES { STRING PROBE_PLAIN { ANIM OFF; } } }");
  folder.write("res/strings_en-US/description/vpprobe.str",
               "STRINGTABLE VPprobe { VPprobe \"Probe\"; PROBE_PLAIN \"Plain\"; PROBE_BEFORE \"Before\"; }");
}

std::string refusalOf(Application& application, const fs::path& folder) {
  return ::refusalOf<Error>([&] { application.loadPlugin(folder); });
}

TEST(Application, AModuleOfEitherStandardLibraryIsToldInOrderAndEnded) {
  for (const std::string& module : split(QM_PROBE_MODULES)) {
    SCOPED_TRACE(module);
    TemporaryFolder folder;
    install(folder, module);
    EXPECT_FALSE(registrationOf(folder.path())) << "it declares nothing";
    Console console;
    {
      Application application(folder / "written", console);
      application.loadPlugin(folder.path());
      EXPECT_THAT(console.lines, ElementsAre("message 0", "message 1", "start Probe"));
      BasePlugin* plugin = FindPlugin(kEffect, PLUGINTYPE::VIDEOPOST);
      ASSERT_NE(plugin, nullptr);
      EXPECT_EQ(pathOf(plugin->GetFilename()), folder / "probe.xso64");
      EXPECT_EQ(FindPlugin(kEffect, PLUGINTYPE::COMMAND), nullptr);
      EXPECT_EQ(pathOf(GeGetStartupWritePath()), folder / "written");
      EXPECT_THAT(refusalOf(application, folder.path()), HasSubstr("loaded already"));
    }
    EXPECT_EQ(console.lines.back(), "end");
    EXPECT_EQ(FindPlugin(kEffect, PLUGINTYPE::VIDEOPOST), nullptr);
    EXPECT_FALSE(GeGetStartupWritePath().IsPopulated());
  }
}

TEST(Application, TextsComeInTheChosenLanguageOrElseInEnglish) {
  for (const auto& [language, expected] : std::vector<std::pair<std::string, std::string>>{
           {"de-DE", "start F\xC3\xBChler"}, {"en-US", "start Probe"}, {"fr-FR", "start Probe"}}) {
    SCOPED_TRACE(language);
    TemporaryFolder folder;
    install(folder, firstProbe());
    Console console;
    Application application(folder.path(), console, language);
    application.loadPlugin(folder.path());
    EXPECT_EQ(console.lines.back(), expected);
  }
  Console console;
  EXPECT_THROW(Application("/tmp", console, "../en"), Error);
}

TEST(Application, WhatCanNotBeLoadedIsNamedAndLeavesNothingBehind) {
  std::ifstream entryless(QM_ENTRYLESS_MODULE, std::ios::binary);
  const std::string symbols = "enum {\n A = ,\n};", description = "CONTAINER VPprobe\n{\n GROUP X {}\n}";
  const std::string refusing = "STRINGTABLE { IDS_PROBE \"Refusing\"; }";  // to start, after it has registered
  const struct {
    const char* file;
    std::optional<std::string> content;  // what it is damaged with; without any, the file is removed
    const char *expected, *reason;
  } rows[] = {
      {"probe.xso64", {}, "holds no module", "build"},
      {"another.xso64", "", "more than one *.xso64", ""},
      {"probe.xso64", "text", "cannot open module", ""},
      {"probe.xso64", std::string(std::istreambuf_iterator(entryless), {}), "c4d_main", ""},
      {"res", {}, "can't initialise", "/res: there is no such folder"},
      {"res/strings_en-US", {}, "can't initialise", "strings_en-US/c4d_strings.str: there is no such file"},
      {"res/c4d_symbols.h", symbols, "can't initialise", "c4d_symbols.h:2: "},
      {"res/description/vpprobe.res", description, "can't start", "vpprobe.res:3: 'X'"},
      {"res/description/vpprobe.res", {}, "can't start", "vpprobe.res: there is no such file"},
      {"res/strings_en-US/c4d_strings.str", refusing, "can't start", "it gives no reason"},
  };
  Console console;
  TemporaryFolder written;
  Application application(written.path(), console);
  EXPECT_THAT(refusalOf(application, written / "none"), HasSubstr("no such folder"));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected + std::string(" ") + row.reason);
    TemporaryFolder folder;
    install(folder, firstProbe());
    fs::remove_all(folder / row.file);
    if (row.content) folder.write(row.file, *row.content);
    EXPECT_THAT(refusalOf(application, folder.path()), AllOf(HasSubstr(row.expected), HasSubstr(row.reason)));
    EXPECT_EQ(FindPlugin(kEffect, PLUGINTYPE::VIDEOPOST), nullptr);
    AutoAlloc<Description> description;
    EXPECT_FALSE(description->LoadDescription("VPprobe"));
  }
  TemporaryFolder folder, twin;
  install(folder, firstProbe());
  install(twin, firstProbe());
  application.loadPlugin(folder.path());
  EXPECT_THAT(refusalOf(application, twin.path()), HasSubstr("'VPprobe' is registered already"));
  EXPECT_NE(FindPlugin(kEffect, PLUGINTYPE::VIDEOPOST), nullptr);
}

TEST(DescriptionFile, GivesEachParameterItsProperties) {
  TemporaryFolder folder;
  install(folder, firstProbe());
  folder.write("res/description/vpprobe.h", "enum { A = 1, B, C, D, E, F, ONE = 1, TWO };");
  folder.write("res/description/vpprobe.res",
               "CONTAINER VPprobe { INCLUDE VPbase; GROUP F { COLUMNS 2; DEFAULT 1; SCALE_H;\n"
               "LONG A { MIN -1; MAX TWO; STEP 2; DEFAULT 2; CYCLE { ONE; TWO; } }\n"
               "REAL B { MIN -0.5; ANIM MIX; HIDDEN; } STRING C { CUSTOMGUI MULTISTRING; DEFAULT \"x\"; }\n"
               "LINK D { ACCEPT { Ocamera; Obase; } } BOOL E { DEFAULT 1; ANIM OFF; } } }");
  folder.write("res/strings_en-US/description/vpprobe.str", "STRINGTABLE { A \"First\"; ONE \"One\"; }");
  Console console;
  Application application(folder.path(), console);
  application.loadPlugin(folder.path());
  AutoAlloc<Description> description;
  ASSERT_TRUE(description->LoadDescription("VPprobe"));
  BaseContainer unused;
  const auto shown = [&](Int32 id) -> const BaseContainer& {
    return *description->GetParameter(DescID::Create(DescLevel(id, 0, 0)), unused, nullptr);
  };
  BaseContainer choices;
  choices.SetString(1, "One"_s);
  choices.SetString(2, "TWO"_s);
  const struct {
    Int32 id, property;
    GeData expected;
  } rows[] = {
      {1, DESC_NAME, GeData("First")}, {1, DESC_MIN, GeData(-1)},
      {1, DESC_MAX, GeData(2)},        {1, DESC_STEP, GeData(2)},
      {1, DESC_DEFAULT, GeData(2)},    {1, DESC_CYCLE, GeData(choices)},
      {2, DESC_NAME, GeData("B")},     {2, DESC_MIN, GeData(-0.5)},
      {2, DESC_ANIMATE, GeData(2)},    {2, DESC_HIDE, GeData(true)},
      {3, DESC_DEFAULT, GeData("x")},  {3, DESC_CUSTOMGUI, GeData(CUSTOMGUI_STRINGMULTI)},
      {5, DESC_ANIMATE, GeData(0)},    {5, DESC_DEFAULT, GeData(true)},
      {3, DESC_ANIMATE, GeData(1)},    {6, DESC_ANIMATE, GeData(0)},
      {6, DESC_NAME, GeData("F")},     {6, DESC_DEFAULT, GeData()},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(shown(row.id).GetData(row.property), row.expected) << row.id << ", property " << row.property;
  }
  EXPECT_EQ(shown(4).GetContainer(DESC_ACCEPT).GetInt32(Ocamera), 1);
}

TEST(DescriptionFile, WhatItLeavesOpenOrThisHostDoesNotModelIsRefusedWithItsLine) {
  std::string ids = "enum { A = 1, B", crowd;
  for (int i = 0; i < 10002; ++i) {
    ids += ", P" + std::to_string(i);
    crowd += "BOOL P" + std::to_string(i) + " { }";
  }
  const std::pair<std::string, std::string> rows[] = {
      {"INCLUDE VPnone;", ":2: 'VPnone': no description of this name"},
      {"COLOR A { }", ":2: 'COLOR': this host does not model"},
      {"LONG { }", ":2: 'LONG': it needs an ID"},
      {"LONG Z { }", ":2: 'Z': the header"},
      {"LONG A { }\nBOOL A { } LONG A { }", ":3: 'A': another parameter"},
      {"LONG A { BOOL B { } }", "only a GROUP has members"},
      {"LONG A { UNIT PERCENT; }", "'UNIT': this host does not model"},
      {"LONG A { ANIM SOMETIMES; }", "'ANIM': this host does not model"},
      {"LONG A { MIN \"x\"; }", "'x': the header"},
      {"LONG A { MIN 9999999999; }", "expected a whole number of 32 bits"},
      {"REAL A { MIN 1.5.5; }", "'1.5.5': expected a number"},
      {"STRING A { DEFAULT 5; }", "a parameter of this type has no such value"},
      {"MIN 5;", "'MIN': this host does not model"},
      {crowd, "at most 10000 parameters"},
  };
  Console console;
  TemporaryFolder folder;
  install(folder, firstProbe());
  folder.write("res/description/vpprobe.h", ids + "};");
  Application application(folder.path(), console);
  for (const auto& [content, expected] : rows) {
    SCOPED_TRACE(content.substr(0, 60));
    folder.write("res/description/vpprobe.res", "CONTAINER VPprobe {\n" + content + "\n}");
    EXPECT_THAT(refusalOf(application, folder.path()), HasSubstr(expected));
  }
  folder.write("res/description/vpprobe.res", "CONTAINER VPother { }");
  EXPECT_THAT(refusalOf(application, folder.path()), HasSubstr("describes 'VPother'"));
}

}  // namespace
}  // namespace quillmere::host
