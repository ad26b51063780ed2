#include <gtest/gtest.h>

#include "c4d.h"
#include "door/application.h"
#include "door/text.h"
#include "temporary_folder.h"

// The part of the API that is compiled into a module, run in this program's own name.
namespace quillmere::host {
namespace {

using namespace cinema;

class Framework : public testing::Test {
 protected:
  void TearDown() override { g_resource.Free(); }

  void writeResources() const {
    folder_.write("c4d_symbols.h", "enum { IDS_NAME = 10000 };");
    folder_.write("strings_en-US/c4d_strings.str", "STRINGTABLE { IDS_NAME \"Name\"; }");
    folder_.write("description/vpone.res", "CONTAINER VPone { INCLUDE VPbase; }");
    folder_.write("description/vpone.h", "enum { ONE };");
    folder_.write("strings_en-US/description/vpone.str", "STRINGTABLE VPone { VPone \"One\"; }");
  }

  TemporaryFolder folder_;
};

NodeData* noNode() {
  return nullptr;
}

TEST_F(Framework, ResourcesAreReadOnceWhateverTheOutcome) {
  const Filename folder = filenameOf(folder_.path());
  EXPECT_EQ(&GeLoadString(10000), &GeLoadString(1)) << "before any resource";
  EXPECT_FALSE(g_resource.Init(folder));
  writeResources();
  EXPECT_FALSE(g_resource.Init(folder));
  g_resource.Free();
  EXPECT_TRUE(g_resource.Init(folder));
  EXPECT_TRUE(g_resource.Init("/nowhere"));
  EXPECT_EQ(GeLoadString(10000), "Name");
  EXPECT_TRUE(GeLoadString(10001).IsEmpty());
}

TEST_F(Framework, AnEffectIsRegisteredWithItsDescriptionOrNotAtAll) {
  writeResources();
  const auto add = [](Int32 id, DataAllocator* allocate, const maxon::String& description) {
    return RegisterVideoPostPlugin(id, "Name"_s, 8, allocate, description, 0, 0);
  };
  EXPECT_FALSE(add(1, noNode, String())) << "without an application";
  Events events;
  const Application application(folder_.path(), events);
  EXPECT_FALSE(add(1, noNode, "VPone"_s)) << "before the resources are read";
  ASSERT_TRUE(g_resource.Init(filenameOf(folder_.path())));
  EXPECT_FALSE(add(1, noNode, "VPtwo"_s));
  EXPECT_FALSE(add(1, noNode, "../description/vpone"_s));
  EXPECT_FALSE(add(1, nullptr, String()));
  EXPECT_EQ(FindPlugin(1, PLUGINTYPE::VIDEOPOST), nullptr);
  EXPECT_TRUE(add(1, noNode, "VPone"_s));
  EXPECT_FALSE(add(1, noNode, String())) << "a second effect of the same ID";
  EXPECT_NE(FindPlugin(1, PLUGINTYPE::VIDEOPOST), nullptr);
  AutoAlloc<Description> description;
  EXPECT_TRUE(description->LoadDescription(1));
  EXPECT_FALSE(description->LoadDescription(0));
}

}  // namespace
}  // namespace quillmere::host
