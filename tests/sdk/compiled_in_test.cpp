#include <gtest/gtest.h>

#include <utility>

#include "api/application.h"
#include "c4d.h"
#include "core/text.h"
#include "temporary_folder.h"

namespace quillmere::host {
namespace {

using namespace cinema;

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

TEST(CompiledIn, ARenderCallOfNobodySaysNoLevelAndThirtyFramesASecond) {
  const BaseVideoPostStruct call;
  EXPECT_EQ(Int32(call.vp), 0);
  EXPECT_EQ(call.fps, 30);
}

struct Counted {
  static Counted* Alloc() { return new Counted; }
  static void Free(Counted*& one) {
    delete one;
    one = nullptr;
    ++freed;
  }
  inline static int freed = 0;
};

TEST(CompiledIn, AnAutomaticObjectIsFreedOnceUnlessAnotherIsAssigned) {
  Counted* former = nullptr;
  {
    AutoAlloc<Counted> owner;
    former = owner;
    owner.Assign(Counted::Alloc());
    EXPECT_EQ(Counted::freed, 0);
    owner = AutoAlloc<Counted>();
    EXPECT_EQ(Counted::freed, 1);
    AutoAlloc<Counted> last = std::move(owner);
    EXPECT_EQ(owner.GetPointer(), nullptr);
  }
  EXPECT_EQ(Counted::freed, 2);
  Counted::Free(former);
}

}  // namespace
}  // namespace quillmere::host
