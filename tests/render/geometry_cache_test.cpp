#include "render/geometry_cache.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "hand_made_scene.h"

namespace quillmere::render {
namespace {

TEST(GeometryCache, BuildsWhatIsNewKeepsWhatStaysAndForgetsTheRest) {
  const DeviceHandle device = makeDevice();
  GeometryCache cache(device.get(), nullptr);
  const Shape box{cube(1)}, sheet{ground(2)}, leaf{sheet.geometry, true};
  cache.keep(std::vector{box, sheet, box});
  const RTCScene built = cache.find(box);
  cache.keep(std::vector{leaf, box});
  EXPECT_EQ(cache.find(box), built);
  EXPECT_NE(cache.find(leaf), nullptr);
  EXPECT_THROW(cache.find(sheet), std::out_of_range);
  EXPECT_EQ(sheet.geometry.use_count(), 3) << "held by sheet, leaf and the cache's leaf only";
}

}  // namespace
}  // namespace quillmere::render
