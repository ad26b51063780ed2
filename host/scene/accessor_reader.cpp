#include "scene/accessor_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

#include "scene/gltf_document.h"
#include "scene/scene.h"

namespace quillmere::scene {

// Elements in a buffer, known to lie inside it; `data` is null for elements that are all zero.
struct AccessorReader::Layout {
  const std::uint8_t* data = nullptr;
  std::size_t count = 0, components = 1, stride = 0;
  int componentType = 0;
  bool normalized = false;
};

namespace {

std::string nameOf(int accessor) {
  return "accessor " + std::to_string(accessor);
}

template <class Number>
Number load(const std::uint8_t* from) {
  Number number;
  std::memcpy(&number, from, sizeof number);
  return number;
}

// glTF 2.0, 3.6.2.2: the most negative integer and the one above it both mean -1.
template <class From, class To>
To converted(From number, bool normalized) {
  if constexpr (std::is_floating_point_v<To> && std::is_integral_v<From>) {
    if (!normalized) return static_cast<To>(number);
    return std::max(static_cast<To>(number) / static_cast<To>(std::numeric_limits<From>::max()), To{-1});
  }
  return static_cast<To>(number);
}

template <class From, class To, class Layout>
void copyAs(const Layout& layout, std::span<To> to) {
  std::size_t out = 0;
  for (std::size_t element = 0; element < layout.count; ++element) {
    const std::uint8_t* from = layout.data + element * layout.stride;
    for (std::size_t c = 0; c < layout.components; ++c) {
      to[out++] = converted<From, To>(load<From>(from + c * sizeof(From)), layout.normalized);
    }
  }
}

template <class To, class Layout>
void copyNumbers(const Layout& layout, std::span<To> to) {
  if (layout.data == nullptr) return;
  switch (layout.componentType) {
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return copyAs<std::uint8_t>(layout, to);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return copyAs<std::uint16_t>(layout, to);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
      return copyAs<std::uint32_t>(layout, to);
    case TINYGLTF_COMPONENT_TYPE_BYTE:
      return copyAs<std::int8_t>(layout, to);
    case TINYGLTF_COMPONENT_TYPE_SHORT:
      return copyAs<std::int16_t>(layout, to);
    default:
      return copyAs<float>(layout, to);
  }
}

// 0 for types that glTF 2.0 does not have.
std::size_t componentSize(int type) {
  switch (type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return 1;
    case TINYGLTF_COMPONENT_TYPE_SHORT:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return 2;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
      return 4;
    default:
      return 0;
  }
}

std::uint64_t budgetOf(const tinygltf::Model& model) {
  constexpr std::uint64_t kMebibyte = 1U << 20U;
  std::uint64_t bytes = 0;
  for (const auto& buffer : model.buffers) bytes += buffer.data.size();
  return std::clamp(256 * bytes, 64 * kMebibyte, 2048 * kMebibyte);
}

bool isUnsigned(int type) {
  return type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE || type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ||
         type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
}

}  // namespace

AccessorReader::AccessorReader(const tinygltf::Model& model, Warnings& warnings)
    : model_(model), warnings_(warnings), budget_(budgetOf(model)), bytesLeft_(budget_) {}

void AccessorReader::spend(int accessor, std::size_t count, std::uint64_t bytesOfEach) {
  if (count > bytesLeft_ / bytesOfEach) {
    throw Error("it makes more than " + std::to_string(budget_ >> 20U) +
                " MiB of geometry and animation (reached with " + nameOf(accessor) + "), too much for its data");
  }
  bytesLeft_ -= count * bytesOfEach;
}

AccessorReader::Layout AccessorReader::checkedView(int view, std::size_t offset, int componentType,
                                                   std::size_t components, std::size_t count,
                                                   const std::string& owner) const {
  const std::size_t size = componentSize(componentType) * components;
  if (size == 0) throw Error(owner + " has an unknown component type");
  const auto bytes = viewBytes(model_, view);
  const std::size_t declared = model_.bufferViews[static_cast<std::size_t>(view)].byteStride;
  const std::size_t stride = declared == 0 ? size : declared;
  if (stride < size) throw Error(owner + " has elements that are larger than their stride");
  // Division, since a product of two numbers from the file may wrap around.
  const bool fits = count == 0 || (offset <= bytes.size() && size <= bytes.size() - offset &&
                                   (bytes.size() - offset - size) / stride >= count - 1);
  if (!fits) throw Error(owner + " ends beyond its buffer view");
  return {count == 0 ? nullptr : bytes.data() + offset, count, components, stride, componentType, false};
}

AccessorReader::Layout AccessorReader::layoutOf(int index, std::size_t bytesPerComponentInMemory) {
  const auto& accessor = itemAt(model_.accessors, index, "accessor");
  const int components = tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(accessor.type));
  if (components <= 0) throw Error(nameOf(index) + " has an unknown type");
  Layout layout{nullptr, accessor.count, static_cast<std::size_t>(components), 0, accessor.componentType, false};
  if (accessor.bufferView >= 0) {
    layout = checkedView(accessor.bufferView, accessor.byteOffset, accessor.componentType, layout.components,
                         accessor.count, nameOf(index));
  }
  spend(index, layout.count, layout.components * bytesPerComponentInMemory);
  layout.normalized = accessor.normalized;
  return layout;
}

template <class To>
void AccessorReader::overlaySparse(int index, const Layout& layout, std::span<To> numbers) const {
  const auto& accessor = model_.accessors[static_cast<std::size_t>(index)];
  const auto& sparse = accessor.sparse;
  if (!sparse.isSparse) return;
  if (sparse.count < 0 || static_cast<std::size_t>(sparse.count) > accessor.count || sparse.indices.byteOffset < 0 ||
      sparse.values.byteOffset < 0 || !isUnsigned(sparse.indices.componentType)) {
    throw Error("the sparse part of " + nameOf(index) + " is malformed");
  }
  const auto count = static_cast<std::size_t>(sparse.count);
  const std::string owner = "the sparse part of " + nameOf(index);
  const Layout places = checkedView(sparse.indices.bufferView, static_cast<std::size_t>(sparse.indices.byteOffset),
                                    sparse.indices.componentType, 1, count, owner);
  Layout values = checkedView(sparse.values.bufferView, static_cast<std::size_t>(sparse.values.byteOffset),
                              accessor.componentType, layout.components, count, owner);
  values.normalized = accessor.normalized;
  std::vector<std::uint32_t> at(count);
  std::vector<To> replacements(count * layout.components);
  copyNumbers(places, std::span(at));
  copyNumbers(values, std::span(replacements));
  for (std::size_t i = 0; i < count; ++i) {
    if (at[i] >= accessor.count) throw Error(owner + " points beyond its elements");
    std::copy_n(replacements.begin() + static_cast<std::ptrdiff_t>(i * layout.components), layout.components,
                numbers.begin() + static_cast<std::ptrdiff_t>(at[i] * layout.components));
  }
}

void AccessorReader::expectType(int index, int type) const {
  if (itemAt(model_.accessors, index, "accessor").type != type) {
    throw Error(nameOf(index) + " has another type than its use asks for");
  }
}

std::vector<float> AccessorReader::floats(int index) {
  const Layout layout = layoutOf(index, sizeof(float));
  std::vector<float> numbers(layout.count * layout.components);
  copyNumbers(layout, std::span(numbers));
  overlaySparse(index, layout, std::span(numbers));
  bool replaced = false;
  for (float& number : numbers) {
    if (std::abs(number) <= kLargestNumber) continue;  // false for NaN
    number = 0.0F;
    replaced = true;
  }
  if (replaced) warnings_.add(nameOf(index) + " holds numbers that are infinite or not numbers; they were read as 0");
  return numbers;
}

template <class Vector>
std::vector<Vector> AccessorReader::vectors(int index, int type) {
  static_assert(std::is_trivially_copyable_v<Vector>);
  expectType(index, type);
  const std::vector<float> numbers = floats(index);
  std::vector<Vector> result(numbers.size() * sizeof(float) / sizeof(Vector));
  if (!result.empty()) std::memcpy(static_cast<void*>(result.data()), numbers.data(), numbers.size() * sizeof(float));
  return result;
}

std::vector<float> AccessorReader::scalars(int accessor) {
  expectType(accessor, TINYGLTF_TYPE_SCALAR);
  return floats(accessor);
}
std::vector<glm::vec2> AccessorReader::vec2s(int accessor) {
  return vectors<glm::vec2>(accessor, TINYGLTF_TYPE_VEC2);
}
std::vector<glm::vec3> AccessorReader::vec3s(int accessor) {
  return vectors<glm::vec3>(accessor, TINYGLTF_TYPE_VEC3);
}
std::vector<glm::vec4> AccessorReader::vec4s(int accessor) {
  return vectors<glm::vec4>(accessor, TINYGLTF_TYPE_VEC4);
}
std::vector<glm::mat4> AccessorReader::mat4s(int accessor) {
  return vectors<glm::mat4>(accessor, TINYGLTF_TYPE_MAT4);
}

std::vector<glm::vec4> AccessorReader::colors(int accessor) {
  if (itemAt(model_.accessors, accessor, "accessor").type == TINYGLTF_TYPE_VEC4) return vec4s(accessor);
  const std::vector<glm::vec3> opaque = vec3s(accessor);
  std::vector<glm::vec4> result(opaque.size());
  std::transform(opaque.begin(), opaque.end(), result.begin(), [](glm::vec3 rgb) { return glm::vec4(rgb, 1.0F); });
  return result;
}

template <class To>
std::vector<To> AccessorReader::unsignedNumbers(int index, int type) {
  expectType(index, type);
  const Layout layout = layoutOf(index, sizeof(To));
  if (!isUnsigned(layout.componentType)) throw Error(nameOf(index) + " must hold unsigned integers");
  if (sizeof(To) < componentSize(layout.componentType))
    throw Error(nameOf(index) + " has components that are too wide");
  std::vector<To> numbers(layout.count * layout.components);
  copyNumbers(layout, std::span(numbers));
  overlaySparse(index, layout, std::span(numbers));
  return numbers;
}

std::vector<std::uint32_t> AccessorReader::indices(int accessor) {
  return unsignedNumbers<std::uint32_t>(accessor, TINYGLTF_TYPE_SCALAR);
}

std::vector<glm::u16vec4> AccessorReader::jointIndices(int accessor) {
  const auto numbers = unsignedNumbers<std::uint16_t>(accessor, TINYGLTF_TYPE_VEC4);
  std::vector<glm::u16vec4> result(numbers.size() / 4);
  for (std::size_t i = 0; i < result.size(); ++i) {
    result[i] = {numbers[4 * i], numbers[4 * i + 1], numbers[4 * i + 2], numbers[4 * i + 3]};
  }
  return result;
}

}  // namespace quillmere::scene
