#include "api/application.h"

#include <dlfcn.h>
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
  folder.write("res/description/vpprobe.h", "enum\n{\nPROBE_PLAIN = 3001, PROBE_BEFORE };");
  folder.write("res/description/vpprobe.res",
               "CONTAINER VPprobe { NAME VPprobe; INCLUDE VPbase;\n"
               "  GROUP PROBE_BEFORE { }\n"
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

// Of a module that the host has refused, too, and again after its end.
TEST(Module, AnswersItsEntryAsTheApplicationsModulesDo) {
  for (const std::string& module : split(QM_PROBE_MODULES)) {
    SCOPED_TRACE(module);
    TemporaryFolder folder;
    install(folder, module);
    fs::remove(folder / "res/description/vpprobe.res");
    Console console;
    const Application application(folder.path(), console);
    void* const handle = dlopen((folder / "probe.xso64").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto* const entry = reinterpret_cast<decltype(&c4d_main)>(dlsym(handle, "c4d_main"));
    Filename file = filenameOf(folder / "probe.xso64");
    const struct {
      Int32 action;
      intptr_t number;  // of a message
      Int32 answer;
    } rows[] = {{C4DPL_INIT_VERSION, 0, 5},
                {12345, 0, -1},
                {C4DPL_MESSAGE, 5, -1},
                {C4DPL_INIT_SYS, 0, 1},
                {C4DPL_MESSAGE, C4DPL_INIT_SYS, 1},
                {C4DPL_INIT, 0, 0},
                {C4DPL_END, 0, 1},
                {C4DPL_MESSAGE, C4DPL_INIT_SYS, -1}};
    for (const auto& row : rows) {
      EXPECT_EQ(entry(row.action, reinterpret_cast<void*>(row.number), nullptr, &file), row.answer) << row.action;
    }
    EXPECT_THAT(console.lines, ElementsAre("message 5", "message 1", "start Probe", "end", "message 1"));
    dlclose(handle);
  }
}

TEST(Application, WhatCanNotBeLoadedIsNamedAndLeavesNothingBehind) {
  std::ifstream entryless(QM_ENTRYLESS_MODULE, std::ios::binary);
  const std::string symbols = "enum\n{\n A = ,\n};", description = "CONTAINER VPprobe\n{\n GROUP X {}\n}";
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
      {"res/c4d_symbols.h", symbols, "can't initialise", "c4d_symbols.h:3: "},
      {"res/description/vpprobe.res", description, "can't start", "vpprobe.res:3: 'X'"},
      {"res/description/vpprobe.res", {}, "can't start", "vpprobe.res: there is no such file"},
      {"res/strings_en-US/c4d_strings.str", refusing, "can't start", "it gives no reason"},
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

// What of the API a module has within itself.
bool add(
    const maxon::String& description, DataAllocator* allocate = [] { return static_cast<NodeData*>(nullptr); }) {
  return RegisterVideoPostPlugin(1, "Name"_s, 8, allocate, description, 0, 0);
}

TEST(EffectRegistration, IsOfAnEffectWithItsDescriptionOrOfNothing) {
  const TemporaryFolder folder;
  folder.write("c4d_symbols.h", "enum\n{\nIDS_NAME = 10000 };");
  folder.write("strings_en-US/c4d_strings.str", "STRINGTABLE { IDS_NAME \"Name\"; }");
  folder.write("description/vpone.res", "CONTAINER VPone { INCLUDE VPbase; }");
  folder.write("description/vpone.h", "enum\n{\nONE };");
  folder.write("strings_en-US/description/vpone.str", "STRINGTABLE VPone { VPone \"One\"; }");
  EXPECT_FALSE(add(String())) << "without an application";
  Events events;
  const Application application(folder.path(), events);
  EXPECT_FALSE(add("VPone"_s)) << "before the resources are read";
  ASSERT_TRUE(g_resource.Init(filenameOf(folder.path())));
  EXPECT_FALSE(add("../description/vpone"_s));
  EXPECT_FALSE(add(String(), nullptr));
  EXPECT_EQ(FindPlugin(1, PLUGINTYPE::VIDEOPOST), nullptr);
  EXPECT_TRUE(add("VPone"_s));
  EXPECT_FALSE(add(String())) << "a second effect of the same ID";
  g_resource.Free();
  EXPECT_FALSE(g_resource.Init(filenameOf(folder.path()))) << "what was freed isn't read again";
}

TEST(DescriptionFile, AddsItsGroupsToThoseThatItIncludes) {
  TemporaryFolder folder;
  install(folder, firstProbe());
  folder.write("res/description/vpprobe.h", "enum\n{\nA = 1, B };");
  folder.write("res/description/vpprobe.res",
               "CONTAINER VPprobe { INCLUDE VPbase; GROUP A { COLUMNS 2; DEFAULT 1; SCALE_H; GROUP B { } }\n"
               "GROUP ID_VIDEOPOSTPROPERTIES { } }");
  folder.write("res/strings_en-US/description/vpprobe.str", "STRINGTABLE { A \"First\"; }");
  Console console;
  Application application(folder.path(), console);
  application.loadPlugin(folder.path());
  AutoAlloc<Description> description;
  ASSERT_TRUE(description->LoadDescription("VPprobe"));
  BaseContainer unused;
  for (const auto& [id, name] :
       std::vector<std::pair<Int32, std::string>>{{1, "First"}, {2, "B"}, {ID_VIDEOPOSTPROPERTIES, "Properties"}}) {
    const DescID address = DescID::Create(DescLevel(id, DTYPE_GROUP, 0));
    const BaseContainer* group = description->GetParameter(address, unused, nullptr);
    ASSERT_NE(group, nullptr) << name;
    EXPECT_EQ(toUtf8(group->GetString(DESC_NAME)), name);
    EXPECT_EQ(group->GetInt32(DESC_ANIMATE, NOTOK), DESC_ANIMATE_OFF) << name;
  }
}

TEST(DescriptionFile, WhatItLeavesOpenOrThisHostDoesNotModelIsRefusedWithItsLine) {
  std::string ids = "enum\n{\nA = 1", crowd;
  for (int i = 0; i < 10002; ++i) {
    ids += ", P" + std::to_string(i);
    crowd += "GROUP P" + std::to_string(i) + " { }";
  }
  const std::pair<std::string, std::string> rows[] = {
      {"INCLUDE VPnone;", ":2: 'VPnone': no description of this name"},
      {"NAME VPprobe;\nGROUP ID_VIDEOPOSTPROPERTIES { }",
       "vpprobe.res:3: 'ID_VIDEOPOSTPROPERTIES': a group of VPbase, which isn't included; write INCLUDE VPbase; above"},
      {"GROUP A { }", "vpprobe.res: has no group ID_VIDEOPOSTPROPERTIES"},
      {"COLOR A { }", ":2: 'COLOR': this host does not model"},
      {"GROUP { }", ":2: expected the group's ID"},
      {"GROUP Z { }", ":2: 'Z': the header"},
      {"GROUP A {\nLONG P1 { MIN 5; } }", ":3: 'LONG': this host does not model"},
      {"GROUP A {\nHIDDEN; }", ":3: 'HIDDEN': this host does not model"},
      {"GROUP A { INCLUDE VPbase; }", "'INCLUDE': this host does not model"},
      {"DEFAULT 1;", "'DEFAULT': this host does not model"},
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
