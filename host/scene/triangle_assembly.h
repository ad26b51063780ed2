#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace quillmere::scene {

enum class Topology { Triangles, Strip, Fan };

// Three indices a triangle, wound as glTF 2.0, 3.7.2.1 says. Vertices at the end that complete no triangle are dropped.
std::vector<std::uint32_t> assembleTriangles(Topology topology, std::vector<std::uint32_t> indices);

}  // namespace quillmere::scene
