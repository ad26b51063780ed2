#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gltf_builder.h"
#include "image/file_formats.h"

namespace quillmere::scene {
namespace {

// A grey 16-bit PNG file, to be shown as RGBA bytes.
std::string pngFile(int width) {
  const TemporaryFolder folder;
  image::Image picture(width, 1, 1, image::Sample::Word);
  picture.row<std::uint16_t>(0)[0] = 0x8080;
  image::writePng(folder / "p.png", picture, image::PngDepth::As16Bit);
  return folder.contentOf("p.png");
}

// A triangle with the texture of image 0 on material 0.
void showTextured(GltfBuilder& builder, nlohmann::json image) {
  auto primitive = builder.triangle();
  primitive["attributes"]["TEXCOORD_0"] = builder.accessor<float>({0, 0, 1, 0, 0, 1}, "VEC2");
  primitive["attributes"]["TEXCOORD_1"] = builder.accessor<float>({5, 5, 5, 5, 5, 5}, "VEC2");
  primitive["material"] =
      builder.add("materials", {{"name", "Sail"}, {"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}});
  builder.add("images", std::move(image));
  builder.add("samplers", {{"wrapS", 33071}, {"wrapT", 33648}, {"magFilter", 9728}});
  builder.add("textures", {{"source", 0}, {"sampler", 0}});
  builder.show(primitive);
}

TEST(Materials, KeepFactorsModesAndSides) {
  GltfBuilder builder;
  builder.json["extensionsUsed"] = {"KHR_materials_unlit"};
  auto primitive = builder.triangle();
  primitive["material"] =
      builder.add("materials", {{"name", "Lamp"},
                                {"alphaMode", "MASK"},
                                {"alphaCutoff", 0.25},
                                {"doubleSided", true},
                                {"emissiveFactor", {1, 1, 0}},
                                {"extensions", {{"KHR_materials_unlit", nlohmann::json::object()}}},
                                {"pbrMetallicRoughness", {{"baseColorFactor", {0.1, 0.2, 7, 0.5}}}}});
  builder.show(primitive);
  builder.show(builder.triangle());
  const auto scene = builder.load();
  const Snapshot snapshot = scene->at(0);
  const Material& lamp = scene->materials()[static_cast<std::size_t>(snapshot.surfaces[0].material)];
  EXPECT_EQ(lamp.baseColor, glm::vec4(0.1F, 0.2F, 1, 0.5F));
  EXPECT_EQ(lamp.alpha, Material::Alpha::Mask);
  EXPECT_TRUE(lamp.unlit && lamp.doubleSided);
  EXPECT_EQ(lamp.emission, glm::vec3(0.0F));  // which what is unlit doesn't have
  const Material& none = scene->materials().at(static_cast<std::size_t>(snapshot.surfaces[1].material));
  EXPECT_EQ(none.baseColor, glm::vec4(1.0F));
  EXPECT_FALSE(none.unlit);
}

TEST(Materials, EmitTheirFactorTimesItsStrengthThroughAMapOfTheirOwn) {
  GltfBuilder builder;
  builder.json["extensionsUsed"] = {"KHR_materials_emissive_strength"};
  showTextured(builder, {{"bufferView", builder.view(pngFile(1))}});
  nlohmann::json& material = builder.json["materials"][0];
  material["emissiveFactor"] = {0.5, 9, 0.25};
  material["emissiveTexture"] = {{"index", 0}, {"texCoord", 1}};
  material["extensions"] = {{"KHR_materials_emissive_strength", {{"emissiveStrength", 4}}}};
  const auto scene = builder.load();
  const Material& sail = scene->materials().at(0);
  EXPECT_EQ(sail.emission, glm::vec3(2, 4, 1));
  EXPECT_EQ(sail.emissionMap.picture, sail.texture.picture);
  const auto geometry = scene->at(0).surfaces.at(0).geometry;
  EXPECT_EQ(geometry->uvs.at(1), glm::vec2(1, 0));
  EXPECT_EQ(geometry->otherUvs.at(sail.emissionMap.uvs - 1).at(1), glm::vec2(5, 5));
  EXPECT_THAT(scene->warnings(), testing::IsEmpty());
}

TEST(Materials, AreMetalAndRoughAsTheFileSays) {
  GltfBuilder builder;
  showTextured(builder, {{"bufferView", builder.view(pngFile(1))}});
  nlohmann::json& material = builder.json["materials"][0];
  const nlohmann::json map = {{"index", 0}};
  material["pbrMetallicRoughness"]["roughnessFactor"] = 0.25;
  material["pbrMetallicRoughness"]["metallicRoughnessTexture"] = map;
  material["normalTexture"] = {{"index", 0}, {"scale", 0.5}};
  material["occlusionTexture"] = {{"index", 0}, {"strength", 0.75}};
  const Material sail = builder.load()->materials().at(0);
  EXPECT_EQ(sail.metallic, 1.0F);  // where nothing is said
  EXPECT_EQ(sail.roughness, 0.25F);
  EXPECT_EQ(sail.normalScale, 0.5F);
  EXPECT_EQ(sail.occlusionStrength, 0.75F);
  for (const TextureMap& one : {sail.metalRoughnessMap, sail.normalMap, sail.occlusionMap}) {
    EXPECT_EQ(one.picture, sail.texture.picture);
  }
}

TEST(Textures, ComeFromBufferViewsDataUrisAndFiles) {
  const std::string png = pngFile(3);
  TemporaryFolder folder;
  folder.write("maps/blue sail.png", png);
  GltfBuilder embedded;
  showTextured(embedded, {{"bufferView", embedded.view(png)}, {"mimeType", "image/png"}});
  GltfBuilder beside;
  showTextured(beside, {{"uri", "maps/blue%20sail.png"}});
  GltfBuilder inlined;
  const std::string red =
      "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAIAAACQd1PeAAAADElEQVR4nGP4z8AAAAMBAQDJ/pLvAAAAAElFTkSuQmCC";
  showTextured(inlined, {{"uri", "data:image/png;base64," + red}});
  for (const auto& [builder, first] : {std::pair(&embedded, 0x80), {&beside, 0x80}, {&inlined, 0xFF}}) {
    const auto scene = load(folder.write("scene.glb", builder->glb()));
    EXPECT_THAT(scene->warnings(), testing::IsEmpty());
    const Material& material = scene->materials().at(0);
    ASSERT_NE(material.texture.picture, nullptr);
    EXPECT_EQ(material.texture.picture->channels(), 4);
    EXPECT_EQ(material.texture.picture->row<std::uint8_t>(0)[0], first);
    EXPECT_EQ(material.texture.picture->row<std::uint8_t>(0)[3], 0xFF);
    const TextureMap& map = material.texture;
    EXPECT_TRUE(!map.repeatU && map.repeatV && map.mirrorV && map.nearest);
  }
}

TEST(Textures, ThatRepeatTheSameBytesAreDecodedOnceAndUnusedOnesNever) {
  GltfBuilder builder;
  const std::string png = pngFile(2);
  showTextured(builder, {{"bufferView", builder.view(png)}});
  showTextured(builder, {{"bufferView", builder.view(png)}});
  builder.json["textures"][1]["source"] = 1;
  builder.json["materials"][1]["pbrMetallicRoughness"]["baseColorTexture"]["index"] = 1;
  builder.add("images", {{"bufferView", builder.view("no picture")}});
  builder.add("textures", {{"source", 2}});
  builder.add("materials", {{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 2}}}}}});
  const auto scene = builder.load();
  EXPECT_EQ(scene->materials().at(0).texture.picture, scene->materials().at(1).texture.picture);
  EXPECT_TRUE(scene->warnings().empty());
}

TEST(Textures, AreLaidByTheirSetAndTransform) {
  struct Row {
    const char* name;
    nlohmann::json info;
    glm::vec2 second;  // where (1, 0), or (5, 5) of the second set, ends
  };
  const auto transformed = [](nlohmann::json values) {
    return nlohmann::json{{"index", 0}, {"extensions", {{"KHR_texture_transform", std::move(values)}}}};
  };
  for (const auto& [name, info, second] : std::vector<Row>{
           {"plain", {{"index", 0}}, {1, 0}},
           {"second set", {{"index", 0}, {"texCoord", 1}}, {5, 5}},
           {"scaled and moved", transformed({{"offset", {0.5, 0.25}}, {"scale", {2, 3}}}), {2.5F, 0.25F}},
           {"turned counter-clockwise as seen", transformed({{"rotation", 1.57079632679}}), {0, -1}},
           {"set of the extension", transformed({{"texCoord", 1}}), {5, 5}},
       }) {
    SCOPED_TRACE(name);
    GltfBuilder builder;
    showTextured(builder, {{"bufferView", builder.view(pngFile(1))}});
    builder.json["extensionsUsed"] = {"KHR_texture_transform"};
    builder.json["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"] = info;
    EXPECT_LT(glm::distance(builder.load()->at(0).surfaces.at(0).geometry->uvs.at(1), second), 1e-5F);
  }
  GltfBuilder lacking;
  showTextured(lacking, {{"bufferView", lacking.view(pngFile(1))}});
  lacking.json["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"]["texCoord"] = 2;
  EXPECT_TRUE(warnsOf(*lacking.load(), "TEXCOORD_2"));
}

}  // namespace
}  // namespace quillmere::scene
