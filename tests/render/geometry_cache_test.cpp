#include "render/geometry_cache.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "hand_made_scene.h"
#include "render/material_filter.h"

namespace quillmere::render {
namespace {

TEST(GeometryCache, BuildsWhatIsNewKeepsWhatStaysAndForgetsTheRest) {
  const DeviceHandle device = makeDevice();
  GeometryCache cache(device.get(), filterByMaterial);
  const Shape box{cube(1)}, sheet{ground(2)}, leaf{sheet.geometry, Hits::Filtered};
  cache.keep(std::vector{box, sheet, box});
  const RTCScene built = cache.find(box);
  cache.keep(std::vector{leaf, box});
  EXPECT_EQ(cache.find(box), built);
  EXPECT_NE(cache.find(leaf), nullptr);
  EXPECT_THROW(cache.find(sheet), std::out_of_range);
  EXPECT_EQ(sheet.geometry.use_count(), 3) << "held by sheet, leaf and the cache's leaf only";
}

// Arrays are traced in place when their spare room allows Embree's wide loads, and copied otherwise.
TEST(GeometryCache, TracesFullAndRoomyArraysAlike) {
  const DeviceHandle device = makeDevice();
  for (const std::size_t spare : {0U, 1U, 40U}) {
    auto geometry = std::make_shared<scene::Geometry>(*cube(2));
    std::vector<glm::vec3> positions;
    positions.reserve(geometry->positions.size() + spare);
    positions.insert(positions.end(), geometry->positions.begin(), geometry->positions.end());
    geometry->positions = std::move(positions);
    GeometryCache cache(device.get(), filterByMaterial);
    const Shape shape{geometry};
    cache.keep(std::vector{shape});
    RTCBounds bounds;
    rtcGetSceneBounds(cache.find(shape), &bounds);
    EXPECT_EQ(glm::vec3(bounds.lower_x, bounds.lower_y, bounds.lower_z), glm::vec3(-1)) << spare;
    EXPECT_EQ(glm::vec3(bounds.upper_x, bounds.upper_y, bounds.upper_z), glm::vec3(1)) << spare;
  }
}

}  // namespace
}  // namespace quillmere::render
