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
  std::string refused;
  std::string accepted;
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
    {"DescID id(DescLevel(1), DescLevel(2));", "DescID id = DescID::Create(DescLevel(1), DescLevel(2));"},
    {"DescID id = ConstDescIDLevel(n);", "DescID id = CreateDescID(DescLevel(n));"},
    {"DescLevel level;", "DescLevel level(1);"},
    {"GeData d(size);", "GeData d(Int32(size + 1));"},
    {"RENDERRESULT r = 0; (void)r;", "RENDERRESULT r = RENDERRESULT::OK; (void)r;"},
    {"b->Save(f, FILTER_PNG, nullptr, 0);", "b->Save(f, FILTER_PNG, nullptr, SAVEBIT::NONE);"},
    {"b->Init(1, 1, 32, 0);", "b->Init(1, 1, 32, INITBITMAPFLAGS::NONE);"},
    {"b->Save(f, FILTER_PNG, &cc, SAVEBIT::NONE);", "b->Save(f, FILTER_PNG, &c, SAVEBIT::NONE);"},
    {"RenderDocument(doc, c, nullptr, nullptr, b, 1, nullptr);",
     "RenderDocument(doc, c, nullptr, nullptr, b, RENDERFLAGS::EXTERNAL, nullptr);"},
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
    {"[]() -> const DescID& { return ConstDescIDLevel(1); }();", "[]() -> DescID { return ConstDescIDLevel(1); }();"},
    {"DescID& id = ConstDescIDLevel(1); (void)id;", "const DescID& id = ConstDescIDLevel(1); (void)id;"},
    {"const DescID* id = &ConstDescIDLevel(1); (void)id;", "DescID id; const DescID* at = &id; (void)at;"},
    {"constexpr DescID id = DescID::Create(DescLevel(1));", "const DescID id = DescID::Create(DescLevel(1));"},
    {"Bool yes = m == \"x\"; (void)yes;", "Bool yes = s == \"x\"; (void)yes;"},
    {"Bool yes = m < \"x\"; (void)yes;", "Bool yes = m < s && s < \"x\"; (void)yes;"},
    {"GeData d(*link);", "GeData d(link);"},
    {"LLONGVALUE kind;", "LLONGVALUETYPE kind = LLONGVALUE; GeData d(Int64(n), kind);"},
    {"BaseContainer* in = value.GetContainer(); (void)in;",
     "const BaseContainer* in = value.GetContainer(); (void)in;"},
    {"String& t = s += \"x\"; (void)t;", "const String& t = s += \"x\"; (void)t;"},
    {"Filename& t = name = f; (void)t;", "const Filename& t = name = f; (void)t;"},
    {"BaseContainer& t = c = cc; (void)t;", "const BaseContainer& t = c = cc; (void)t;"},
    {"GeData& t = value = *&value; (void)t;", "const GeData& t = value = *&value; (void)t;"},
    {"GeListNode* node = cnodedata->Get(); (void)node;", "GeListNode* node = nodedata->Get(); (void)node;"},
    {"const GeResource& r = g_resource; r.Get();", "GeResource& r = g_resource; r.Get();"},
    {"const AutoAlloc<BaseBitmap> made; ShowBitmap(made.GetPointer());",
     "AutoAlloc<BaseBitmap> made; ShowBitmap(made.GetPointer());"},
    {"AutoAlloc<BaseBitmap> made; BaseBitmap** p = &made; (void)p;",
     "AutoAlloc<BaseBitmap> made; BaseBitmap* const* p = &made; (void)p;"},
    {"AutoAlloc<BaseBitmap> made; AutoAlloc<BaseBitmap>* p = &made; (void)p;",
     "AutoAlloc<BaseBitmap> made; AutoAlloc<BaseBitmap>& p = made; (void)p;"},
    {"C4DOS_Br = nullptr;", "n = C4DOS_Br->GetViewPortBitmap != nullptr;"},
    {"WriteProgressHook* h = [](WRITEMODE, BaseBitmap*, const Filename&, Bool, Int32, Int32, Int32, const String&,"
     " void*) {}; (void)h;",
     "WriteProgressHook* h = [](WRITEMODE, BaseBitmap*, const Filename&, Bool, Int32, Int32, Int32,"
     " const maxon::String&, void*) {}; (void)h;"},
    {"auto key = DESC_NAME; key = 2; (void)key;", "Int32 key = DESC_NAME; key = 2; (void)key;"},
    {"auto type = DA_LONG; type = 2; (void)type;", "Int32 type = DA_LONG; type = 2; (void)type;"},
    {"Int32 found = 0; if (n > 0) { Int32 found = n; n = found; } n = found;", "Int32 found = 0; n = found;"},
};

// What only the application makes.
constexpr const char* kTypes = "BaseBitmap Description VPBuffer Render BaseDocument VideoPostStruct VolumeData";

// Enumerators of no namespace, and macros.
constexpr const char* kOfNoNamespace =
    "RDATA_XRES BASEDRAW_SDISPLAY_QUICK ID_VIDEOPOSTPROPERTIES Ocamera Obase Orscamera FILTER_PNG C4DPL_INIT_SYS "
    "C4DMSG_PRIORITY PLUGINFLAG_VIDEOPOST_ISRENDERER CUSTOMGUI_CYCLE CUSTOMGUI_LINKBOX VPBUFFER_RGBA "
    "C4D_PATH_STARTUPWRITE";

// What a module can't name anything of its own.
constexpr const char* kMacros =
    "Describe DebugStop CriticalStop DebugAssert CriticalAssert DebugOutput DebugWarning CheckArgument CheckState "
    "TakeBase FormatString ReturnNull NewObj NewObjClear NewMem NewMemClear DeleteMem DeleteObj MoveMemType "
    "CopyMemType "
    "ConstDescID ConstDescIDLevel CreateDescID Ocamera FILTER_PNG C4DOS_Br";

std::vector<Row> allRows() {
  std::vector<Row> rows = kRows;
  std::istringstream types(kTypes), constants(kOfNoNamespace), macros(kMacros);
  for (std::string type; types >> type;) rows.push_back({type + " made;", type + "* made = nullptr; (void)made;"});
  for (std::string name; constants >> name;) rows.push_back({"n = cinema::" + name + ";", "n = " + name + ";"});
  for (std::string name; macros >> name;) rows.push_back({"void " + name + "(Int32);", "void Own" + name + "(Int32);"});
  return rows;
}

constexpr const char* kGiven =
    "BaseContainer& c, const BaseContainer& cc, VolumeData* vd, String& s, size_t size, Int32 n, BaseBitmap* b, "
    "const BaseBitmap* cb, const Filename& f, BaseDocument* doc, const BaseDocument* cdoc, VPBuffer* buffer, "
    "float* data, const float* cdata, const BaseList2D* cnode, BasePlugin* plugin, const BasePlugin* cplugin, "
    "BaseThread* thread, const BaseThread* cthread, const maxon::String& m, const BaseLink* link, GeData& value, "
    "Filename& name, NodeData* nodedata, const NodeData* cnodedata";

std::string program(const std::vector<Row>& rows, std::string Row::*line) {
  std::string text =
      "#include \"c4d.h\"\n#include \"customgui_linkbox.h\"\n#include \"dbasedraw.h\"\n"
      "#include \"drendersettings.h\"\n#include \"vpbase.h\"\nusing namespace cinema;\n";
  for (size_t i = 0; i < rows.size(); ++i) {
    const std::string name = "row" + std::to_string(i) + "_";
    text += "static void " + name + "(" + kGiven + ") {\n#line 1 \"" + name + "\"\n" + rows[i].*line + "\n}\n";
  }
  return text;
}

// What the compiler says to the program.
std::string complaints(const std::string& compiler, const std::string& text) {
  const TemporaryFolder folder;
  const std::string file = folder.write("rows.cpp", text).string();
  const std::string command = compiler + " -Wno-unused-variable -fsyntax-only -fno-exceptions -fno-rtti -I " +
                              QM_INCLUDES + " " + file + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  std::string said;
  char buffer[4096];
  for (size_t got = 0; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) said.append(buffer, got);
  pclose(pipe);
  return said;
}

TEST(Refusals, WhatTheApplicationRefusesIsRefusedAndItsTwinAccepted) {
  const std::vector<Row> rows = allRows();
  std::istringstream compilers(QM_COMPILERS);
  for (std::string compiler; std::getline(compilers, compiler, '|');) {
    SCOPED_TRACE(compiler);
    EXPECT_EQ(complaints(compiler, program(rows, &Row::accepted)), "");
    const std::string refused = complaints(compiler, program(rows, &Row::refused));
    for (size_t i = 0; i < rows.size(); ++i) {
      const bool named = refused.find("row" + std::to_string(i) + "_:1:") != std::string::npos;
      EXPECT_TRUE(named) << "accepted: " << rows[i].refused;
    }
  }
}

}  // namespace
