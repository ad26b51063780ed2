#include "scene/accessor_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <tuple>

#include "refusal.h"
#include "scene/scene.h"

namespace quillmere::scene {
namespace {

using ::testing::ElementsAre;
using ::testing::FloatNear;
using ::testing::HasSubstr;
using ::testing::Pointwise;

// Accessor 0 reads view 0, which is buffer 0 from its start to its end.
tinygltf::Model modelOf(const std::vector<unsigned char>& bytes, int componentType, int type, std::size_t count) {
  tinygltf::Model model;
  model.buffers.emplace_back().data = bytes;
  auto& view = model.bufferViews.emplace_back();
  view.buffer = 0;
  view.byteLength = bytes.size();
  auto& accessor = model.accessors.emplace_back();
  accessor.bufferView = 0;
  accessor.componentType = componentType;
  accessor.type = type;
  accessor.count = count;
  return model;
}

using Sparse = decltype(tinygltf::Accessor::sparse);

// Replaces `count` elements, told by the indices and the values at their offsets in view 0.
Sparse sparse(int count, int indicesAt, int indexType, int valuesAt, int indicesView = 0) {
  return {count, true, {indicesAt, indicesView, indexType}, {0, valuesAt}};
}

template <class T>
std::vector<unsigned char> bytesOf(const std::vector<T>& values) {
  std::vector<unsigned char> bytes(values.size() * sizeof(T));
  std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

TEST(AccessorReader, ConvertsEveryNumberTypeToFloat) {
  // Bytes, component type, whether they are normalized, and the numbers.
  const std::tuple<std::vector<unsigned char>, int, bool, std::vector<float>> rows[] = {
      {{0, 51, 255}, TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE, true, {0, 0.2F, 1}},
      {bytesOf<std::int8_t>({-128, -127, 127}), TINYGLTF_COMPONENT_TYPE_BYTE, true, {-1, -1, 1}},
      {bytesOf<std::int16_t>({-32768, 0, 32767}), TINYGLTF_COMPONENT_TYPE_SHORT, true, {-1, 0, 1}},
      {bytesOf<std::uint16_t>({0, 13107, 65535}), TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT, true, {0, 0.2F, 1}},
      {bytesOf<std::int16_t>({-300, 0, 7}), TINYGLTF_COMPONENT_TYPE_SHORT, false, {-300, 0, 7}},
      {bytesOf<float>({-1.5F, 0, 7}), TINYGLTF_COMPONENT_TYPE_FLOAT, false, {-1.5F, 0, 7}},
  };
  for (const auto& [bytes, type, normalized, expected] : rows) {
    auto model = modelOf(bytes, type, TINYGLTF_TYPE_SCALAR, 3);
    model.accessors[0].normalized = normalized;
    Warnings warnings;
    EXPECT_THAT(AccessorReader(model, warnings).scalars(0), Pointwise(FloatNear(1e-6F), expected)) << type;
  }
}

TEST(AccessorReader, FollowsStrideOffsetAndSparseReplacements) {
  auto model = modelOf({9, 9, 1, 0, 9, 9, 2, 0, 9, 9, 3, 0, /*sparse index*/ 2, /*value*/ 77, 0},
                       TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT, TINYGLTF_TYPE_SCALAR, 3);
  model.bufferViews[0].byteStride = 4;
  model.accessors[0].byteOffset = 2;
  Warnings warnings;
  EXPECT_THAT(AccessorReader(model, warnings).indices(0), ElementsAre(1, 2, 3));

  model.accessors[0].sparse = sparse(1, 12, TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE, 13);
  EXPECT_THAT(AccessorReader(model, warnings).indices(0), ElementsAre(1, 2, 77));
  model.accessors[0].bufferView = -1;
  EXPECT_THAT(AccessorReader(model, warnings).indices(0), ElementsAre(0, 0, 77));
  model.buffers[0].data[12] = 3;
  EXPECT_THROW(AccessorReader(model, warnings).indices(0), Error);
}

TEST(AccessorReader, RefusesWhatReachesBeyondItsBytes) {
  constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
  using Change = void (*)(tinygltf::Model&);
  const std::vector<std::pair<Change, const char*>> rows{
      {[](auto& m) { m.accessors[0].count = 5; }, "ends beyond its buffer view"},
      {[](auto& m) { m.accessors[0].count = kHuge; }, "ends beyond its buffer view"},
      {[](auto& m) { m.accessors[0].byteOffset = 1; }, "ends beyond its buffer view"},
      {[](auto& m) { m.accessors[0].byteOffset = kHuge - 3; }, "ends beyond its buffer view"},
      {[](auto& m) { m.accessors[0].bufferView = 1; }, "no buffer view 1"},
      {[](auto& m) { m.accessors[0].componentType = 5124; }, "unknown component type"},
      {[](auto& m) { m.bufferViews[0].byteLength = 17; }, "ends beyond its buffer"},
      {[](auto& m) { m.bufferViews[0].byteOffset = kHuge; }, "ends beyond its buffer"},
      {[](auto& m) { m.bufferViews[0].byteStride = 2; }, "larger than their stride"},
      {[](auto& m) { m.bufferViews[0].byteStride = kHuge; }, "ends beyond its buffer view"},
      {[](auto& m) { m.bufferViews[0].buffer = -1; }, "no buffer -1"},
      {[](auto& m) { m.accessors[0].type = TINYGLTF_TYPE_VEC2; }, "another type"},
      {[](auto& m) { m.accessors[0].sparse = sparse(-1, 0, 5121, 0); }, "malformed"},
      {[](auto& m) { m.accessors[0].sparse = sparse(1, -4, 5121, 0); }, "malformed"},
      {[](auto& m) { m.accessors[0].sparse = sparse(1, 0, 5121, 0, 9); }, "no buffer view 9"},
      {[](auto& m) { m.accessors[0].sparse = sparse(1, 0, 5121, 16); }, "ends beyond"},
  };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(i);
    auto model = modelOf(std::vector<unsigned char>(16), TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_SCALAR, 4);
    rows[i].first(model);
    Warnings warnings;
    EXPECT_THAT(refusalOf<Error>([&] { AccessorReader(model, warnings).scalars(0); }), HasSubstr(rows[i].second));
  }
}

TEST(AccessorReader, ReadsWhatIsNoNumberAsZeroAndSaysSo) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const auto model = modelOf(bytesOf<float>({1, std::numeric_limits<float>::quiet_NaN(), -kInfinity, 1e30F}),
                             TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_SCALAR, 4);
  Warnings warnings;
  EXPECT_THAT(AccessorReader(model, warnings).scalars(0), ElementsAre(1, 0, 0, 0));
  EXPECT_THAT(warnings.sentences(), ElementsAre(HasSubstr("accessor 0")));
}

}  // namespace
}  // namespace quillmere::scene
