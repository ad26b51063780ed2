#include <algorithm>
#include <map>
#include <new>

#include "scene/accessor_reader.h"
#include "scene/animation.h"
#include "scene/draco_import.h"
#include "scene/geometry_import.h"
#include "scene/gltf_document.h"
#include "scene/gltf_scene.h"
#include "scene/material_import.h"
#include "scene/object_names.h"

namespace quillmere::scene {
namespace {

constexpr std::size_t kMostDeformedVertices = std::size_t{1} << 25U;  // of all instances that may deform, together
// The same vertices times what moves each of them, and the joints that are brought into place first.
constexpr std::size_t kMostDeformingSteps = std::size_t{1} << 30U;
constexpr std::size_t kStepsOfJoint = 16;
constexpr std::size_t kStepsOfInfluences = 8;

constexpr std::size_t kMostInstances = std::size_t{1} << 21U;  // that a scene may show

[[noreturn]] void throwTooManyInstances() {
  throw Error("it shows more than two million instances of geometry");
}

int accessorOf(const tinygltf::Value& attributes, const char* name) {
  const tinygltf::Value& value = attributes.Get(name);
  return value.IsInt() ? value.GetNumberAsInt() : -1;
}

// Where copies of a node's mesh stand within the node: one identity matrix unless the node uses
// EXT_mesh_gpu_instancing.
std::vector<glm::mat4> importPlacements(const tinygltf::Node& node, AccessorReader& reader) {
  const auto extension = node.extensions.find("EXT_mesh_gpu_instancing");
  if (extension == node.extensions.end()) return {glm::mat4(1.0F)};
  const tinygltf::Value& attributes = extension->second.Get("attributes");
  if (!attributes.IsObject()) throw Error("the instances of node '" + node.name + "' have no attributes");
  const int translation = accessorOf(attributes, "TRANSLATION");
  const int rotation = accessorOf(attributes, "ROTATION");
  const int scale = accessorOf(attributes, "SCALE");
  const auto translations = translation < 0 ? std::vector<glm::vec3>() : reader.vec3s(translation);
  const auto rotations = rotation < 0 ? std::vector<glm::vec4>() : reader.vec4s(rotation);
  const auto scales = scale < 0 ? std::vector<glm::vec3>() : reader.vec3s(scale);

  const std::size_t count = std::max({translations.size(), rotations.size(), scales.size()});
  for (const std::size_t size : {translations.size(), rotations.size(), scales.size()}) {
    if (size != 0 && size != count)
      throw Error("the instances of node '" + node.name + "' have unequal numbers of values");
  }
  if (count > kMostInstances) throwTooManyInstances();
  std::vector<glm::mat4> placements(count);
  for (std::size_t i = 0; i < count; ++i) {
    Pose pose;
    if (!translations.empty()) pose.translation = translations[i];
    if (!scales.empty()) pose.scale = scales[i];
    if (!rotations.empty()) {
      const glm::vec4 q = rotations[i];
      pose.rotation = unitQuaternion({q.w, q.x, q.y, q.z});
    }
    placements[i] = matrixOf(pose);
  }
  return placements;
}

// Reads each mesh once, when a shown node turns out to need it.
class MeshLibrary {
 public:
  using Parts = std::vector<std::shared_ptr<const MeshPart>>;

  MeshLibrary(GltfDocument& document, AccessorReader& reader, MaterialSet& materials)
      : document_(document), reader_(reader), materials_(materials) {}

  const Parts& parts(int mesh) {
    const auto [found, isNew] = meshes_.try_emplace(mesh);
    if (isNew) {
      for (MeshPart& part : importMesh(document_, reader_, materials_, itemAt(document_.model.meshes, mesh, "mesh"))) {
        found->second.push_back(std::make_shared<const MeshPart>(std::move(part)));
      }
    }
    return found->second;
  }

 private:
  GltfDocument& document_;
  AccessorReader& reader_;
  MaterialSet& materials_;
  std::map<int, Parts> meshes_;
};

class InstanceCollector {
 public:
  explicit InstanceCollector(const std::vector<Skin>& skins) : skins_(skins) {}

  std::vector<Instance> instances;

  void add(Instance instance) {
    const MeshPart& part = *instance.part;
    if (part.influences.empty()) instance.skin = -1;
    countDeformation(instance);
    if (instance.skin >= 0) checkInfluences(part, itemAt(skins_, instance.skin, "skin"));
    shown_ += instance.placements->size();
    if (shown_ > kMostInstances) throwTooManyInstances();
    instances.push_back(std::move(instance));
  }

 private:
  void countDeformation(const Instance& instance) {
    const MeshPart& part = *instance.part;
    const bool skinned = instance.skin >= 0;
    const std::size_t vertices = part.geometry->positions.size();
    if (skinned || !part.targets.empty()) vertices_ += vertices;
    steps_ += vertices * part.targets.size();
    if (skinned) {
      steps_ += vertices * part.influenceSets * kStepsOfInfluences;
      steps_ += itemAt(skins_, instance.skin, "skin").joints.size() * kStepsOfJoint;
    }
    if (vertices_ > kMostDeformedVertices || steps_ > kMostDeformingSteps) {
      throw Error("its skins and morph targets move too many vertices");
    }
  }

  const std::vector<Skin>& skins_;
  std::size_t shown_ = 0, vertices_ = 0, steps_ = 0;
};

std::vector<Instance> importInstances(GltfDocument& document, AccessorReader& reader, MaterialSet& materials,
                                      const SceneParts& parts) {
  MeshLibrary library(document, reader, materials);
  InstanceCollector collector(parts.skins);
  for (std::size_t i = 0; i < parts.graph.nodes.size(); ++i) {
    const tinygltf::Node& node = document.model.nodes[i];
    if (!parts.graph.nodes[i].shown || node.mesh < 0) continue;
    const auto placements = std::make_shared<const std::vector<glm::mat4>>(importPlacements(node, reader));
    for (const auto& part : library.parts(node.mesh)) {
      collector.add({static_cast<int>(i), node.skin, part, placements, 0, nullptr});
    }
  }
  return std::move(collector.instances);
}

std::vector<bool> movedNodes(const NodeGraph& graph, const std::vector<Track>& tracks) {
  std::vector<bool> moved(graph.nodes.size());
  for (const Track& track : tracks) {
    if (track.property != Property::Weights) moved[static_cast<std::size_t>(track.node)] = true;
  }
  return spreadDown(graph, std::move(moved));
}

Contents contentsOf(const tinygltf::Model& model) {
  return {excerpt(model.asset.generator), model.nodes.size(), model.meshes.size(), model.images.size(),
          model.skins.size()};
}

std::shared_ptr<const Scene> import(const std::filesystem::path& file, const LoadSettings& settings) {
  GltfDocument document = parseGltf(file);
  decompressMeshes(document);
  AccessorReader reader(document.model, document.warnings);
  SceneParts parts;
  parts.graph = importNodes(document);
  parts.playback = importAnimations(document, reader, parts.graph, settings.clip);
  parts.loop = settings.loop;
  parts.moved = movedNodes(parts.graph, parts.playback.tracks);
  parts.skins = importSkins(document, reader);
  MaterialSet materials = importMaterials(document);
  parts.instances = importInstances(document, reader, materials, parts);
  parts.objects = nameObjects(document, parts.graph, parts.instances);
  parts.cameras = importCameras(document, parts.graph, parts.moved);
  parts.lights = importLights(document, parts.graph);
  loadTextures(document, materials);
  parts.materials = std::move(materials.materials);
  parts.warnings = document.warnings.sentences();
  parts.contents = contentsOf(document.model);
  return makeScene(std::move(parts));
}

}  // namespace

std::shared_ptr<const Scene> load(const std::filesystem::path& file, const LoadSettings& settings) {
  const std::string refusal = "cannot read scene '" + excerpt(file.string()) + "': ";
  try {
    return import(file, settings);
  } catch (const std::bad_alloc&) {
    throw Error(refusal + "there is not enough memory");
  } catch (const std::exception& error) {
    throw Error(refusal + excerpt(error.what()));
  }
}

}  // namespace quillmere::scene
