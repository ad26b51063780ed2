#pragma once

#include <tiny_gltf.h>

#include <cstdint>
#include <glm/glm.hpp>
#include <glm/gtc/type_precision.hpp>
#include <span>
#include <vector>

#include "scene/warnings.h"

namespace quillmere::scene {

// The only way to the data of a document: every offset, length, stride and count is checked against the buffer before a
// byte is read, sparse accessors are expanded, quantized numbers converted. Every function throws Error (the reason
// alone) for data that does not fit, and when the document asks for more than its bytes can stand for: a part of them
// may be read several times, and elements may be left out, but in sum no more than 256 times the bytes of its buffers
// is given (64 MiB at least, 2 GiB at most).
class AccessorReader {
 public:
  // Borrows both for its own lifetime.
  AccessorReader(const tinygltf::Model& model, Warnings& warnings);

  // As floats; normalized integers become 0 to 1 or -1 to 1. Numbers that are not finite, or beyond kLargestNumber, are
  // read as 0 with a warning.
  std::vector<float> scalars(int accessor);
  std::vector<glm::vec2> vec2s(int accessor);
  std::vector<glm::vec3> vec3s(int accessor);
  std::vector<glm::vec4> vec4s(int accessor);
  std::vector<glm::vec4> colors(int accessor);  // VEC3 or VEC4, alpha 1 where there is none
  std::vector<glm::mat4> mat4s(int accessor);
  // Whatever its type is, one element after the other.
  std::vector<float> floats(int accessor);

  std::vector<std::uint32_t> indices(int accessor);
  std::vector<glm::u16vec4> jointIndices(int accessor);

 private:
  struct Layout;
  Layout layoutOf(int accessor, std::size_t bytesPerComponentInMemory);
  Layout checkedView(int view, std::size_t offset, int componentType, std::size_t components, std::size_t count,
                     const std::string& owner) const;
  void spend(int accessor, std::size_t count, std::uint64_t bytesOfEach);
  void expectType(int accessor, int type) const;
  template <class Vector>
  std::vector<Vector> vectors(int accessor, int type);
  template <class To>
  std::vector<To> unsignedNumbers(int accessor, int type);
  template <class To>
  void overlaySparse(int accessor, const Layout& layout, std::span<To> numbers) const;

  const tinygltf::Model& model_;
  Warnings& warnings_;
  std::uint64_t budget_, bytesLeft_;
};

}  // namespace quillmere::scene
