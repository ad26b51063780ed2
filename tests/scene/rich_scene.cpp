#include "rich_scene.h"

namespace quillmere::scene {

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
