#include "gltf_builder.h"

#include "refusal.h"

#include <map>
#include <numeric>

namespace quillmere::scene {
namespace {

std::string littleEndian(std::size_t number) {
  std::string bytes;
  for (int i = 0; i < 4; ++i) bytes += static_cast<char>((number >> (8 * i)) & 0xFFU);
  return bytes;
}

std::string padded(std::string bytes, char with) {
  while (bytes.size() % 4 != 0) bytes += with;
  return bytes;
}

}  // namespace

GltfBuilder::GltfBuilder() {
  json = {{"asset", {{"version", "2.0"}}}, {"scene", 0}, {"scenes", {{{"nodes", nlohmann::json::array()}}}}};
}

std::size_t GltfBuilder::componentsOf(const std::string& type) {
  static const std::map<std::string, std::size_t> kComponents{
      {"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT4", 16}};
  return kComponents.at(type);
}

int GltfBuilder::add(const std::string& list, nlohmann::json item) {
  json[list].push_back(std::move(item));
  return static_cast<int>(json[list].size()) - 1;
}

int GltfBuilder::view(const std::string& bytes) {
  const std::size_t offset = data_.size();
  data_ = padded(data_ + bytes, '\0');
  return add("bufferViews", {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes.size()}});
}

int GltfBuilder::accessorOf(int view, int componentType, std::size_t count, const std::string& type) {
  return add("accessors", {{"bufferView", view}, {"componentType", componentType}, {"count", count}, {"type", type}});
}

int GltfBuilder::addNode(nlohmann::json node) {
  const int index = add("nodes", std::move(node));
  json["scenes"][0]["nodes"].push_back(index);
  return index;
}

int GltfBuilder::show(nlohmann::json primitive) {
  return addNode({{"mesh", add("meshes", {{"primitives", {std::move(primitive)}}})}});
}

nlohmann::json GltfBuilder::triangle() {
  return {{"attributes", {{"POSITION", accessor<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}, "VEC3")}}}};
}

void GltfBuilder::addChannel(int node, const std::string& path, const std::string& interpolation, int keys,
                             int output) {
  std::vector<float> times(static_cast<std::size_t>(keys));
  std::iota(times.begin(), times.end(), 0.0F);
  const int input = accessor(times, "SCALAR");
  add("animations", {{"channels", {{{"sampler", 0}, {"target", {{"node", node}, {"path", path}}}}}},
                     {"samplers", {{{"input", input}, {"output", output}, {"interpolation", interpolation}}}}});
}

std::string GltfBuilder::glb() const {
  nlohmann::json document = json;
  if (!data_.empty()) document["buffers"] = {{{"byteLength", data_.size()}}};
  const std::string text = padded(document.dump(), ' ');
  std::string chunks = littleEndian(text.size()) + "JSON" + text;
  if (!data_.empty()) chunks += littleEndian(data_.size()) + std::string("BIN\0", 4) + data_;
  return "glTF" + littleEndian(2) + littleEndian(12 + chunks.size()) + chunks;
}

std::shared_ptr<const Scene> GltfBuilder::load() const {
  const TemporaryFolder folder;
  return scene::load(folder.write("scene.glb", glb()));
}

std::string GltfBuilder::refusal() const {
  return refusalOf<Error>([this] { load(); });
}

bool warnsOf(const Scene& scene, const std::string& text) {
  for (const std::string& warning : scene.warnings()) {
    if (warning.find(text) != std::string::npos) return true;
  }
  return false;
}

GltfBuilder richScene() {
  GltfBuilder builder;
  auto primitive = builder.triangle();
  auto& attributes = primitive["attributes"];
  attributes["NORMAL"] = builder.accessor<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3");
  attributes["TEXCOORD_0"] = builder.accessor<float>({0, 0, 1, 0, 0, 1}, "VEC2");
  attributes["JOINTS_0"] = builder.accessor<std::uint8_t>({0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}, "VEC4");
  attributes["WEIGHTS_0"] = builder.accessor<float>({1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}, "VEC4");
  primitive["indices"] = builder.accessor<std::uint16_t>({0, 1, 2}, "SCALAR");
  const int offsets = builder.accessor<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3");
  builder.json["accessors"].back()["sparse"] = {
      {"count", 1},
      {"indices", {{"bufferView", builder.view(std::string(1, '\2'))}, {"componentType", 5121}}},
      {"values", {{"bufferView", builder.view(std::string(12, '\0'))}}}};
  primitive["targets"] = {{{"POSITION", offsets}}};
  primitive["material"] = builder.add("materials", {{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}});
  builder.add("textures", {{"source", builder.add("images", {{"bufferView", builder.view("\x89PNG\r\n\x1a\n")}})}});
  const int node = builder.show(primitive);
  builder.json["nodes"].back()["skin"] = builder.add(
      "skins",
      {{"joints", {node, node}}, {"inverseBindMatrices", builder.accessor(std::vector<float>(32, 0.5F), "MAT4")}});
  builder.animate<float>(node, "rotation", "CUBICSPLINE", 2, std::vector<float>(24, 0.3F), "VEC4");
  builder.animate<float>(node, "weights", "LINEAR", 2, {0, 1}, "SCALAR");
  const int camera =
      builder.add("cameras", {{"type", "perspective"}, {"perspective", {{"yfov", 0.7}, {"znear", 0.1}}}});
  builder.addNode({{"camera", camera},
                   {"mesh", 0},
                   {"extensions", {{"EXT_mesh_gpu_instancing", {{"attributes", {{"TRANSLATION", 0}}}}}}}});
  builder.json["extensions"]["KHR_lights_punctual"]["lights"] = {{{"type", "point"}}};
  builder.addNode({{"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
  return builder;
}

}  // namespace quillmere::scene
