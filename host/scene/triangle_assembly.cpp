#include "scene/triangle_assembly.h"

namespace quillmere::scene {

std::vector<std::uint32_t> assembleTriangles(Topology topology, std::vector<std::uint32_t> indices) {
  if (topology == Topology::Triangles) {
    indices.resize(indices.size() - indices.size() % 3);
    return indices;
  }
  std::vector<std::uint32_t> triangles;
  for (std::size_t i = 0; i + 2 < indices.size(); ++i) {
    const std::size_t odd = i % 2;
    if (topology == Topology::Strip) {
      triangles.insert(triangles.end(), {indices[i], indices[i + 1 + odd], indices[i + 2 - odd]});
    } else {
      triangles.insert(triangles.end(), {indices[i + 1], indices[i + 2], indices[0]});
    }
  }
  return triangles;
}

}  // namespace quillmere::scene
