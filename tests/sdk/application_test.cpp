#include "api/application.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

#include "core/text.h"
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
  folder.write("res/c4d_symbols.h", "enum\n{\nIDS_PROBE = 10000, _DUMMY_ };");
  folder.write("res/strings_en-US/c4d_strings.str", "STRINGTABLE { IDS_PROBE \"Probe\"; }");
  folder.write("res/strings_de-DE/c4d_strings.str", "STRINGTABLE { IDS_PROBE \"F\xC3\xBChler\"; }");
  folder.write("res/description/vpprobe.h", "enum\n{\nPROBE_PLAIN = 3001, PROBE_BEFORE, PROBE_NAMELESS };");
  folder.write("res/description/vpprobe.res",
               "CONTAINER VPprobe { NAME VPprobe; INCLUDE VPbase;\n"
               "  GROUP PROBE_BEFORE { COLUMNS 2; DEFAULT 1; SCALE_H; GROUP PROBE_NAMELESS { } }\n"
               "  GROUP ID_VIDEOPOSTPROPERTIES { GROUP PROBE_PLAIN { DEFAULT 1; } } }");
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
      Application application(folder / "written", console, "de-DE");
      application.loadPlugin(folder.path());
      EXPECT_THAT(console.lines, ElementsAre("message 0", "message 1", "start F\xC3\xBChler"));
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

TEST(Application, WhatCanNotBeLoadedIsNamedAndLeavesNothingBehind) {
  const auto text = [](const std::string& name) { return "STRINGTABLE { IDS_PROBE \"" + name + "\"; }"; };
  const auto description = [](const std::string& content) { return "CONTAINER VPprobe {\n" + content + "\n}"; };
  std::ifstream entryless(QM_ENTRYLESS_MODULE, std::ios::binary);
  std::string ids = "enum\n{\nPROBE_PLAIN = 3001, PROBE_BEFORE, PROBE_NAMELESS, A", crowd;
  for (int i = 0; i < 10002; ++i) {
    ids += ", P" + std::to_string(i);
    crowd += "GROUP P" + std::to_string(i) + " { }";
  }
  const char *const init = "can't initialise", *const start = "can't start";
  const fs::path strings = "res/strings_en-US/c4d_strings.str", described = "res/description/vpprobe.res";
  const struct {
    fs::path file;
    std::optional<std::string> content;  // what it is damaged with; without any, the file is removed
    const char *expected, *reason;
  } rows[] = {
      {"probe.xso64", {}, "holds no module", "build"},
      {"another.xso64", "", "more than one *.xso64", ""},
      {"probe.xso64", "text", "cannot open module", ""},
      {"probe.xso64", std::string(std::istreambuf_iterator(entryless), {}), "c4d_main", ""},
      {"res", {}, init, "/res: there is no such folder"},
      {"res/strings_en-US", {}, init, "strings_en-US/c4d_strings.str: there is no such file"},
      {"res/c4d_symbols.h", "enum\n{\n A = ,\n};", init, "c4d_symbols.h:3: "},
      {strings, text("Refusing"), start, "it gives no reason"},  // to start, after it has registered
      {described, {}, start, "vpprobe.res: there is no such file"},
      {described, "CONTAINER VPother { }", start, "describes 'VPother'"},
      {described, description("INCLUDE VPnone;"), start, ":2: 'VPnone': no description of this name"},
      {described, description("NAME VPprobe;\nGROUP ID_VIDEOPOSTPROPERTIES { }"), start,
       "vpprobe.res:3: 'ID_VIDEOPOSTPROPERTIES': a group of VPbase, which isn't included; write INCLUDE VPbase; above"},
      {described, description("GROUP A { }"), start, "vpprobe.res: has no group ID_VIDEOPOSTPROPERTIES"},
      {described, description("COLOR A { }"), start, ":2: 'COLOR': this host does not model"},
      {described, description("GROUP Z { }"), start, ":2: 'Z': the header"},
      {described, description("GROUP A {\nLONG P1 { MIN 5; } }"), start, ":3: 'LONG': this host does not model"},
      {described, description(crowd), start, "at most 10000 parameters"},
  };
  Console console;
  TemporaryFolder written;
  EXPECT_THROW(Application(written.path(), console, "../en"), Error);
  Application application(written.path(), console);
  EXPECT_THAT(refusalOf(application, written / "none"), HasSubstr("no such folder"));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected + std::string(" ") + row.reason);
    TemporaryFolder folder;
    install(folder, firstProbe());
    folder.write("res/description/vpprobe.h", ids + "};");
    fs::remove_all(folder / row.file);
    if (row.content) folder.write(row.file, *row.content);
    EXPECT_THAT(refusalOf(application, folder.path()), AllOf(HasSubstr(row.expected), HasSubstr(row.reason)));
    EXPECT_EQ(FindPlugin(kEffect, PLUGINTYPE::VIDEOPOST), nullptr);
    AutoAlloc<Description> loaded;
    EXPECT_FALSE(loaded->LoadDescription("VPprobe"));
  }
  TemporaryFolder folder, twin;
  install(folder, firstProbe());
  install(twin, firstProbe());
  application.loadPlugin(folder.path());
  EXPECT_THAT(refusalOf(application, twin.path()), HasSubstr("'VPprobe' is registered already"));
  EXPECT_NE(FindPlugin(kEffect, PLUGINTYPE::VIDEOPOST), nullptr);
}

// What of the API a module has within itself.
bool add(
    const maxon::String& description, DataAllocator* allocate = [] { return static_cast<NodeData*>(nullptr); }) {
  return RegisterVideoPostPlugin(1, "Name"_s, 8, allocate, description, 0, 0);
}

TEST(EffectRegistration, IsOfAnEffectWithItsDescriptionOrOfNothing) {
  const TemporaryFolder folder;
  install(folder, firstProbe());
  EXPECT_FALSE(add(String())) << "without an application";
  Events events;
  const Application application(folder.path(), events);
  EXPECT_FALSE(add("VPprobe"_s)) << "before the resources are read";
  ASSERT_TRUE(g_resource.Init(filenameOf(folder / "res")));
  EXPECT_FALSE(add("../description/vpprobe"_s));
  EXPECT_FALSE(add(String(), nullptr));
  EXPECT_EQ(FindPlugin(1, PLUGINTYPE::VIDEOPOST), nullptr);
  EXPECT_TRUE(add("VPprobe"_s));
  EXPECT_FALSE(add(String())) << "a second effect of the same ID";
  g_resource.Free();
  EXPECT_FALSE(g_resource.Init(filenameOf(folder / "res"))) << "what was freed isn't read again";
}

}  // namespace
}  // namespace quillmere::host
