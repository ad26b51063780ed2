#include "scene/geometry_import.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include "scene/node_graph.h"

namespace quillmere::scene {
namespace {

int accessorOf(const std::map<std::string, int>& attributes, const std::string& name) {
  const auto found = attributes.find(name);
  return found == attributes.end() ? -1 : found->second;
}

class PartImporter {
 public:
  PartImporter(GltfDocument& document, AccessorReader& reader, const tinygltf::Mesh& mesh,
               const tinygltf::Primitive& primitive)
      : document_(document), reader_(reader), mesh_(mesh), primitive_(primitive) {}

  // Nothing for what can't be shown as triangles.
  std::optional<MeshPart> import(MaterialSet& materials) {
    const bool triangles = isOfTriangles(primitive_.mode);
    const int positions = accessorOf(primitive_.attributes, "POSITION");
    if (!triangles) document_.warnings.add("points and lines are not shown (mesh '" + mesh_.name + "')");
    if (positions < 0) document_.warnings.add("geometry without positions is not shown (mesh '" + mesh_.name + "')");
    if (!triangles || positions < 0) return std::nullopt;

    MeshPart part;
    Geometry geometry;
    geometry.positions = reader_.vec3s(positions);
    vertices_ = geometry.positions.size();
    geometry.indices = assembleTriangles(primitive_.mode, indices());
    if (geometry.indices.empty()) return std::nullopt;
    part.material = materials.use(primitive_.material);
    readShading(geometry, materials.uvMappings[static_cast<std::size_t>(part.material)]);
    part.geometry = std::make_shared<const Geometry>(std::move(geometry));
    part.targets = targets();
    readInfluences(part);
    return part;
  }

 private:
  std::vector<std::uint32_t> indices() {
    if (primitive_.indices < 0) {
      std::vector<std::uint32_t> all(vertices_);
      std::iota(all.begin(), all.end(), 0U);
      return all;
    }
    std::vector<std::uint32_t> given = reader_.indices(primitive_.indices);
    const auto highest = std::max_element(given.begin(), given.end());
    if (highest != given.end() && *highest >= vertices_) {
      throw Error("the indices in accessor " + std::to_string(primitive_.indices) + " go up to " +
                  std::to_string(*highest) + ", but there are only " + std::to_string(vertices_) + " vertices");
    }
    return given;
  }

  template <class T>
  std::vector<T> checkedLength(std::vector<T> values, int accessor) const {
    if (values.size() == vertices_) return values;
    throw Error("accessor " + std::to_string(accessor) + " has " + std::to_string(values.size()) +
                " elements where the primitive has " + std::to_string(vertices_) + " vertices");
  }

  std::vector<glm::vec3> vec3s(const std::map<std::string, int>& attributes, const std::string& name) {
    const int accessor = accessorOf(attributes, name);
    return accessor < 0 ? std::vector<glm::vec3>() : checkedLength(reader_.vec3s(accessor), accessor);
  }

  void readShading(Geometry& geometry, const std::vector<UvMapping>& mappings) {
    const auto& attributes = primitive_.attributes;
    geometry.normals = vec3s(attributes, "NORMAL");
    for (glm::vec3& normal : geometry.normals) normal = unitOr(normal, {0.0F, 1.0F, 0.0F});
    if (const int colors = accessorOf(attributes, "COLOR_0"); colors >= 0) {
      geometry.colors = checkedLength(reader_.colors(colors), colors);
    }
    if (attributes.count("COLOR_1") != 0) document_.warnings.add("only the first set of vertex colours is shown");
    if (mappings.empty()) return;
    geometry.uvs = uvsOf(mappings.front());
    for (std::size_t i = 1; i < mappings.size(); ++i) geometry.otherUvs.push_back(uvsOf(mappings[i]));
  }

  std::vector<glm::vec2> uvsOf(const UvMapping& mapping) {
    const std::string name = "TEXCOORD_" + std::to_string(mapping.set);
    const int accessor = accessorOf(primitive_.attributes, name);
    if (accessor < 0) {
      document_.warnings.add("mesh '" + mesh_.name + "' is shown without its texture: it has no " + name);
      return {};
    }
    std::vector<glm::vec2> uvs = checkedLength(reader_.vec2s(accessor), accessor);
    for (glm::vec2& uv : uvs) {
      uv = glm::clamp(glm::vec2(mapping.transform * glm::vec3(uv, 1.0F)), -kLargestNumber, kLargestNumber);
    }
    return uvs;
  }

  std::vector<MorphTarget> targets() {
    std::vector<MorphTarget> all;
    for (const auto& attributes : primitive_.targets) {
      all.push_back({vec3s(attributes, "POSITION"), vec3s(attributes, "NORMAL")});
      for (const auto& [name, accessor] : attributes) {
        if (name.rfind("TEXCOORD", 0) == 0 || name.rfind("COLOR", 0) == 0) {
          document_.warnings.add("morph targets move positions and normals only, not " + name);
        }
      }
    }
    return all;
  }

  void readInfluences(MeshPart& part) {
    std::vector<std::vector<Influence>> sets;
    for (int set = 0;; ++set) {
      const int joints = accessorOf(primitive_.attributes, "JOINTS_" + std::to_string(set));
      const int weights = accessorOf(primitive_.attributes, "WEIGHTS_" + std::to_string(set));
      if (joints < 0 || weights < 0) break;
      const auto jointIndices = checkedLength(reader_.jointIndices(joints), joints);
      const auto jointWeights = checkedLength(reader_.vec4s(weights), weights);
      auto& influences = sets.emplace_back(vertices_);
      for (std::size_t v = 0; v < vertices_; ++v) influences[v] = {jointIndices[v], jointWeights[v]};
    }
    part.influenceSets = sets.size();
    part.influences.resize(vertices_ * sets.size());
    for (std::size_t v = 0; v < part.influences.size(); ++v)
      part.influences[v] = sets[v % sets.size()][v / sets.size()];
    normalizeWeights(part);
  }

  // A vertex without any weight follows its first joint.
  void normalizeWeights(MeshPart& part) const {
    for (std::size_t first = 0; first < part.influences.size(); first += part.influenceSets) {
      float sum = 0.0F;
      for (std::size_t i = first; i < first + part.influenceSets; ++i) {
        glm::vec4& weights = part.influences[i].weights;
        weights = glm::max(weights, glm::vec4(0.0F));
        sum += glm::dot(weights, glm::vec4(1.0F));
      }
      if (sum <= 0.0F) part.influences[first].weights.x = sum = 1.0F;
      for (std::size_t i = first; i < first + part.influenceSets; ++i) part.influences[i].weights /= sum;
    }
  }

  GltfDocument& document_;
  AccessorReader& reader_;
  const tinygltf::Mesh& mesh_;
  const tinygltf::Primitive& primitive_;
  std::size_t vertices_ = 0;
};

}  // namespace

bool isOfTriangles(int mode) {
  return mode == TINYGLTF_MODE_TRIANGLES || mode == TINYGLTF_MODE_TRIANGLE_STRIP || mode == TINYGLTF_MODE_TRIANGLE_FAN;
}

std::vector<std::uint32_t> assembleTriangles(int mode, std::vector<std::uint32_t> indices) {
  if (mode == TINYGLTF_MODE_TRIANGLES) {
    indices.resize(indices.size() - indices.size() % 3);
    return indices;
  }
  std::vector<std::uint32_t> triangles;
  for (std::size_t i = 0; i + 2 < indices.size(); ++i) {
    const std::size_t odd = i % 2;
    if (mode == TINYGLTF_MODE_TRIANGLE_STRIP) {
      triangles.insert(triangles.end(), {indices[i], indices[i + 1 + odd], indices[i + 2 - odd]});
    } else {
      triangles.insert(triangles.end(), {indices[i + 1], indices[i + 2], indices[0]});
    }
  }
  return triangles;
}

std::vector<MeshPart> importMesh(GltfDocument& document, AccessorReader& reader, MaterialSet& materials,
                                 const tinygltf::Mesh& mesh) {
  std::vector<MeshPart> parts;
  for (const auto& primitive : mesh.primitives) {
    if (auto part = PartImporter(document, reader, mesh, primitive).import(materials))
      parts.push_back(std::move(*part));
  }
  return parts;
}

}  // namespace quillmere::scene
