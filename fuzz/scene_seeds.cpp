// scene_seeds PICTURE FOLDER: writes the scenes that scene_fuzz starts from; PICTURE becomes a texture.
#include <fstream>
#include <iostream>
#include <iterator>

#include "scene/gltf_builder.h"

namespace quillmere::scene {
namespace {

std::string contentOf(const char* file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// A masked, moved texture on quantized coordinates.
int addMaterial(GltfBuilder& builder, const std::string& picture) {
  const int image = builder.add("images", {{"bufferView", builder.view(picture)}, {"mimeType", "image/png"}});
  const int sampler = builder.add("samplers", {{"magFilter", 9728}, {"wrapS", 33648}, {"wrapT", 33071}});
  const int texture = builder.add("textures", {{"source", image}, {"sampler", sampler}});
  const nlohmann::json moved = {{"offset", {0.5, 0.25}}, {"rotation", 0.3}, {"scale", {2, 3}}, {"texCoord", 1}};
  return builder.add(
      "materials",
      {{"alphaMode", "MASK"},
       {"alphaCutoff", 0.4},
       {"doubleSided", true},
       {"extensions", {{"KHR_materials_unlit", nlohmann::json::object()}}},
       {"pbrMetallicRoughness",
        {{"baseColorFactor", {1, 0.5, 1, 1}},
         {"baseColorTexture", {{"index", texture}, {"extensions", {{"KHR_texture_transform", moved}}}}}}}});
}

GltfBuilder texturedScene(const std::string& picture) {
  GltfBuilder builder;
  builder.json["extensionsUsed"] = {"KHR_texture_transform", "KHR_materials_unlit", "KHR_lights_punctual"};
  auto primitive = builder.triangle();
  primitive["mode"] = 5;
  primitive["material"] = addMaterial(builder, picture);
  const int uvs = builder.accessor<std::uint16_t>({0, 0, 65535, 0, 0, 65535}, "VEC2");
  builder.json["accessors"].back()["normalized"] = true;
  primitive["attributes"]["TEXCOORD_1"] = uvs;
  primitive["attributes"]["COLOR_0"] = builder.accessor<float>({1, 1, 1, 1, 0, 1, 0, 1, 0.5F}, "VEC3");
  const int node = builder.show(primitive);
  builder.json["nodes"].back().update({{"translation", {0, 0, -2}}, {"rotation", {0, 0, 0, 1}}, {"scale", {1, 2, 1}}});
  builder.animate<float>(node, "scale", "STEP", 2, {1, 1, 1, 2, 2, 2}, "VEC3");
  builder.animate<float>(node, "translation", "LINEAR", 2, {0, 0, -2, 0, 0, -3}, "VEC3");
  const int camera = builder.add(
      "cameras", {{"type", "orthographic"}, {"orthographic", {{"xmag", 2}, {"ymag", 1}, {"znear", 0}, {"zfar", 9}}}});
  const nlohmann::json turned = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const int below = builder.add("nodes", {{"mesh", 0}, {"matrix", turned}});
  builder.addNode({{"camera", camera}, {"name", "Front"}, {"children", {below}}});
  builder.json["extensions"]["KHR_lights_punctual"]["lights"] = {
      {{"type", "spot"}, {"intensity", 20}, {"range", 9}, {"spot", {{"innerConeAngle", 0.1}, {"outerConeAngle", 1}}}},
      {{"type", "directional"}, {"color", {1, 0.9, 0.8}}}};
  for (const int light : {0, 1}) builder.addNode({{"extensions", {{"KHR_lights_punctual", {{"light", light}}}}}});
  return builder;
}

// Two panes behind each other, from the file that scene_fuzz puts beside its scenes.
GltfBuilder sceneInTwoFiles() {
  GltfBuilder builder;
  builder.add("buffers", {{"uri", "./a%2Ebin"}, {"byteLength", 36}});
  builder.add("bufferViews", {{"buffer", 0}, {"byteLength", 36}});
  const int corners =
      builder.add("accessors", {{"bufferView", 0}, {"componentType", 5126}, {"count", 3}, {"type", "VEC3"}});
  const int image = builder.add("images", {{"uri", "a.bin"}});
  const int texture = builder.add("textures", {{"source", image}});
  const int glass = builder.add(
      "materials",
      {{"alphaMode", "BLEND"},
       {"pbrMetallicRoughness",
        {{"baseColorFactor", {1, 1, 1, 0.5}}, {"baseColorTexture", {{"index", texture}, {"texCoord", 0}}}}}});
  builder.show({{"attributes", {{"POSITION", corners}}}, {"material", glass}});
  builder.addNode({{"mesh", 0}, {"translation", {0, 0, -1}}});
  const int camera =
      builder.add("cameras", {{"type", "perspective"}, {"perspective", {{"yfov", 0.7}, {"znear", 0.1}}}});
  builder.addNode({{"camera", camera}, {"translation", {0.3, 0.3, 2}}});
  return builder;
}

void write(const std::string& file, const GltfBuilder& builder) {
  std::ofstream(file, std::ios::binary) << builder.glb();
}

}  // namespace
}  // namespace quillmere::scene

int main(int argc, char** argv) {
  if (argc != 3) return std::cerr << "usage: scene_seeds PICTURE FOLDER\n", 2;
  const std::string folder = argv[2];
  quillmere::scene::write(folder + "/rich.glb", quillmere::scene::richScene());
  quillmere::scene::write(folder + "/two_files.glb", quillmere::scene::sceneInTwoFiles());
  quillmere::scene::write(folder + "/textured.glb",
                          quillmere::scene::texturedScene(quillmere::scene::contentOf(argv[1])));
}
