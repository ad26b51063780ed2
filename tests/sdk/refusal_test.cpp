#include <gtest/gtest.h>
#include <stdio.h>

#include <sstream>
#include <string>
#include <vector>

#include "temporary_folder.h"

// What the 3D application's API refuses at compile time has to be refused here as well, or a module that builds here
// wouldn't build there. Each refused line stands beside the nearest one that is accepted.
namespace {

struct Row {
  const char* refused;
  const char* accepted;
};

const std::vector<Row> kRows = {
    {"c.SetString(1, \"x\");", "c.SetString(1, \"x\"_s);"},
    {"GePrint(\"x\");", "GePrint(String(\"x\"));"},
    {"vd->StatusSetText(\"x\");", "vd->StatusSetText(\"x\"_s);"},
    {"if (s) n = 1;", "if (s.IsPopulated()) n = 1;"},
    {"Bool yes = s; (void)yes;", "Bool yes = s.IsEmpty(); (void)yes;"},
    {"auto t = \"x\"_s + s;", "auto t = \"x\" + s + \"y\";"},
    {"auto t = s + \"x\"_s;", "auto t = s + String(\"x\"_s);"},
    {"String t(\"x\", STRINGENCODING::BIT8);", "String t(\"x\", STRINGENCODING::XBIT);"},
    {"DescID id(DescLevel(1, 2, 0));", "DescID id = DescID::Create(DescLevel(1, 2, 0));"},
    {"DescID id(1);", "DescID id = ConstDescIDLevel(1);"},
    {"DescID id = DescLevel(1);", "DescID id = ConstDescID(DescLevel(1, 2, 3));"},
    {"DescID id(DescLevel(1), DescLevel(2));", "DescID id = DescID::Create(DescLevel(1), DescLevel(2));"},
    {"DescID id = ConstDescIDLevel(n);", "DescID id = CreateDescID(DescLevel(n));"},
    {"DescLevel level;", "DescLevel level(1);"},
    {"GeData d(size);", "GeData d(Int32(size + 1));"},
    {"GeData d(5L);", "GeData d(5);"},
    {"RENDERRESULT r = 0; (void)r;", "RENDERRESULT r = RENDERRESULT::OK; (void)r;"},
    {"b->Save(f, FILTER_PNG, nullptr, 0);", "b->Save(f, FILTER_PNG, nullptr, SAVEBIT::NONE);"},
    {"b->Init(1, 1, 32, 0);", "b->Init(1, 1, 32, INITBITMAPFLAGS::NONE);"},
    {"b->Save(f, FILTER_PNG, &cc, SAVEBIT::NONE);", "b->Save(f, FILTER_PNG, &c, SAVEBIT::NONE);"},
    {"RenderDocument(doc, c, nullptr, nullptr, b, 1, nullptr);",
     "RenderDocument(doc, c, nullptr, nullptr, b, RENDERFLAGS::EXTERNAL, nullptr);"},
    {"BaseBitmap made;", "AutoAlloc<BaseBitmap> made; if (!made || made == nullptr) made->GetBw();"},
    {"Description made;", "AutoAlloc<Description> made;"},
    {"VPBuffer made;", "VPBuffer* made = nullptr; (void)made;"},
    {"Render made;", "Render* made = nullptr; (void)made;"},
    {"BaseDocument made;", "BaseDocument* made = nullptr; (void)made;"},
    {"VideoPostStruct made;", "BaseVideoPostStruct made;"},
    {"VolumeData made;", "AutoAlloc<VolumeData> made;"},
    {"ShowBitmap(cb);", "ShowBitmap(b);"},
    {"buffer->SetLine(0, 0, 1, cdata, 32, false);", "buffer->SetLine(0, 0, 1, data, 32, false);"},
    {"BaseContainer* d = cnode->GetDataInstance(); (void)d;",
     "const BaseContainer* d = cnode->GetDataInstance(); (void)d;"},
    {"BaseContainer& d = cnode->GetDataInstanceRef(); (void)d;", "BaseContainer d = cnode->GetDataInstanceRef();"},
    {"BaseList2D* l = c.GetLink(1, cdoc); (void)l;", "BaseList2D* l = c.GetLink(1, doc, Ocamera); (void)l;"},
    {"cplugin->GetFilename();", "plugin->GetFilename();"},
    {"cthread->TestBreak();", "thread->TestBreak();"},
    {"class N : public VideoPostData { Bool Init(GeListNode*) override; };",
     "class N : public VideoPostData { Bool Init(GeListNode*, Bool) override; };"},
    {"class N : public NodeData { Bool GetDEnabling(GeListNode*, const DescID&, const GeData&, DESCFLAGS_ENABLE,"
     " const BaseContainer*) override; };",
     "class N : public NodeData { Bool GetDEnabling(const GeListNode*, const DescID&, const GeData&, DESCFLAGS_ENABLE,"
     " const BaseContainer*) const override; };"},
    {"class N : public VideoPostData { RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct*) const override; };",
     "class N : public VideoPostData { RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct*) override; };"},
};

constexpr const char* kGiven =
    "BaseContainer& c, const BaseContainer& cc, VolumeData* vd, String& s, size_t size, Int32 n, BaseBitmap* b, "
    "const BaseBitmap* cb, const Filename& f, BaseDocument* doc, const BaseDocument* cdoc, VPBuffer* buffer, "
    "float* data, const float* cdata, const BaseList2D* cnode, BasePlugin* plugin, const BasePlugin* cplugin, "
    "BaseThread* thread, const BaseThread* cthread";

std::string program(const char* Row::*line) {
  std::string text = "#include \"c4d.h\"\nusing namespace cinema;\n";
  for (size_t i = 0; i < kRows.size(); ++i) {
    const std::string name = "row" + std::to_string(i) + "_";
    text += "#line 1 \"" + name + "\"\nvoid " + name + "(" + kGiven + ") { " + kRows[i].*line + " }\n";
  }
  return text;
}

// What the compiler says to the program, without the lines that only warn.
std::string errors(const std::string& compiler, const std::string& text) {
  const TemporaryFolder folder;
  const std::string file = folder.write("rows.cpp", text).string();
  const std::string command = compiler + " -fsyntax-only -w -I " + QM_INCLUDES + " " + file + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  std::string said;
  char buffer[4096];
  for (size_t got = 0; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) said.append(buffer, got);
  pclose(pipe);
  return said;
}

TEST(Refusals, WhatTheApplicationRefusesIsRefusedAndItsTwinAccepted) {
  std::istringstream compilers(QM_COMPILERS);
  for (std::string compiler; std::getline(compilers, compiler, '|');) {
    SCOPED_TRACE(compiler);
    EXPECT_EQ(errors(compiler, program(&Row::accepted)), "");
    const std::string refused = errors(compiler, program(&Row::refused));
    for (size_t i = 0; i < kRows.size(); ++i) {
      const bool named = refused.find("row" + std::to_string(i) + "_:1:") != std::string::npos;
      EXPECT_TRUE(named) << "accepted: " << kRows[i].refused;
    }
  }
}

}  // namespace
