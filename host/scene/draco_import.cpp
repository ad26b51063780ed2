#include "scene/draco_import.h"

#include <draco/compression/decode.h>
#include <draco/core/varint_decoding.h>
#include <draco/metadata/metadata_decoder.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "base/error.h"
#include "scene/document_survey.h"

namespace quillmere::scene {
namespace {

constexpr const char* kExtension = "KHR_draco_mesh_compression";
constexpr std::uint64_t kMostOfEachByte = 256, kLeastBudget = std::uint64_t{64} << 20U;

// What a compressed mesh says of its size before anything is decompressed.
struct Size {
  std::uint32_t vertices = 0, faces = 0;
};

// The beginning of bitstream 2.2, the only one that glTF allows (https://google.github.io/draco/spec/): the decoder
// itself would take any size's memory first.
Size sizeOf(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kHeader = 11;
  constexpr std::uint16_t kMetadata = 0x8000;
  constexpr std::uint8_t kTriangles = 1, kEdgebreaker = 1;
  if (bytes.size() < kHeader || std::memcmp(bytes.data(), "DRACO", 5) != 0) throw Error("its data is no Draco data");
  if (bytes[5] != 2 || bytes[6] != 2) throw Error("its data is of another version of Draco than 2.2");
  if (bytes[7] != kTriangles) throw Error("its data holds no triangles");
  const auto flags = static_cast<std::uint16_t>(bytes[9] | bytes[10] << 8U);
  draco::DecoderBuffer buffer;
  buffer.Init(reinterpret_cast<const char*>(bytes.data()) + kHeader, bytes.size() - kHeader);
  buffer.set_bitstream_version(DRACO_BITSTREAM_VERSION(2, 2));
  draco::GeometryMetadata metadata;
  bool read = (flags & kMetadata) == 0 || draco::MetadataDecoder().DecodeGeometryMetadata(&buffer, &metadata);
  Size size;
  std::uint8_t traversal = 0;
  if (bytes[8] == kEdgebreaker) {
    read = read && buffer.Decode(&traversal) && draco::DecodeVarint(&size.vertices, &buffer) &&
           draco::DecodeVarint(&size.faces, &buffer);
  } else {
    read = read && draco::DecodeVarint(&size.faces, &buffer) && draco::DecodeVarint(&size.vertices, &buffer);
  }
  if (!read) throw Error("its data is damaged");
  return size;
}

draco::DataType dataTypeOf(int componentType) {
  switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
      return draco::DT_INT8;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return draco::DT_UINT8;
    case TINYGLTF_COMPONENT_TYPE_SHORT:
      return draco::DT_INT16;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return draco::DT_UINT16;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
      return draco::DT_UINT32;
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
      return draco::DT_FLOAT32;
    default:
      return draco::DT_INVALID;
  }
}

std::vector<unsigned char> bytesOf(const draco::Mesh& mesh, const draco::PointAttribute& attribute) {
  const auto each = static_cast<std::size_t>(draco::DataTypeLength(attribute.data_type())) *
                    static_cast<std::size_t>(attribute.num_components());
  std::vector<unsigned char> bytes(mesh.num_points() * each);
  for (std::uint32_t point = 0; point < mesh.num_points(); ++point) {
    const auto value = attribute.mapped_index(draco::PointIndex(point));
    if (value.value() >= attribute.size()) throw Error("its data is damaged");
    std::memcpy(bytes.data() + point * each, attribute.GetAddress(value), each);
  }
  return bytes;
}

std::vector<unsigned char> indicesOf(const draco::Mesh& mesh) {
  std::vector<unsigned char> bytes(std::size_t{mesh.num_faces()} * 3 * sizeof(std::uint32_t));
  for (std::uint32_t face = 0; face < mesh.num_faces(); ++face) {
    const draco::Mesh::Face& corners = mesh.face(draco::FaceIndex(face));
    for (std::size_t corner = 0; corner < 3; ++corner) {
      const std::uint32_t index = corners[corner].value();
      std::memcpy(bytes.data() + (std::size_t{face} * 3 + corner) * sizeof(index), &index, sizeof(index));
    }
  }
  return bytes;
}

class Decompressor {
 public:
  explicit Decompressor(tinygltf::Model& model) : model_(model) {
    std::uint64_t bytes = 0;
    for (const auto& buffer : model.buffers) bytes += buffer.data.size();
    budget_ = std::clamp<std::uint64_t>(bytes * kMostOfEachByte, kLeastBudget, kMostFileBytes);
  }

  void decompress(tinygltf::Primitive& primitive) {
    const auto found = primitive.extensions.find(kExtension);
    if (found == primitive.extensions.end()) return;
    const tinygltf::Value extension = found->second;
    const tinygltf::Value& attributes = extension.Get("attributes");
    if (!extension.Get("bufferView").IsInt() || !attributes.IsObject()) throw Error("its extension is damaged");
    const auto mesh = decoded(extension.Get("bufferView").GetNumberAsInt());
    for (const std::string& name : attributes.Keys()) {
      const auto attribute = primitive.attributes.find(name);
      const tinygltf::Value& id = attributes.Get(name);
      if (attribute == primitive.attributes.end() || !id.IsInt()) throw Error("its extension is damaged");
      attribute->second = addAttribute(*mesh, id.GetNumberAsInt(), attribute->second);
    }
    primitive.indices = addIndices(*mesh);
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
  }

 private:
  void spend(std::uint64_t bytes) {
    if (bytes > budget_) throw Error("it would decompress to more than a file of its size has use for");
    budget_ -= bytes;
  }

  std::unique_ptr<draco::Mesh> decoded(int view) {
    const auto bytes = viewBytes(model_, view);
    const Size size = sizeOf(bytes);
    // What the decoder itself needs of each face and vertex, and of positions at the least.
    spend((std::uint64_t{size.faces} + size.vertices) * 3 * sizeof(std::uint32_t));
    draco::DecoderBuffer buffer;
    buffer.Init(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    auto mesh = draco::Decoder().DecodeMeshFromBuffer(&buffer);
    if (!mesh.ok()) throw Error("its data is damaged: " + excerpt(mesh.status().error_msg_string()));
    return std::move(mesh).value();
  }

  int addAttribute(const draco::Mesh& mesh, int id, int accessor) {
    const draco::PointAttribute* attribute = id < 0 ? nullptr : mesh.GetAttributeByUniqueId(static_cast<unsigned>(id));
    tinygltf::Accessor like = itemAt(model_.accessors, accessor, "accessor");
    const bool fits =
        attribute != nullptr && attribute->data_type() == dataTypeOf(like.componentType) &&
        attribute->num_components() == tinygltf::GetNumComponentsInType(static_cast<unsigned>(like.type)) &&
        like.count == mesh.num_points();
    if (!fits) throw Error("its data isn't what its attributes say");
    spend(mesh.num_points() * static_cast<std::uint64_t>(draco::DataTypeLength(attribute->data_type())) *
          static_cast<std::uint64_t>(attribute->num_components()));
    return addAccessor(std::move(like), bytesOf(mesh, *attribute));
  }

  int addIndices(const draco::Mesh& mesh) {
    tinygltf::Accessor indices;
    indices.componentType = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
    indices.type = TINYGLTF_TYPE_SCALAR;
    indices.count = mesh.num_faces() * std::size_t{3};
    return addAccessor(std::move(indices), indicesOf(mesh));
  }

  int addAccessor(tinygltf::Accessor accessor, std::vector<unsigned char> bytes) {
    tinygltf::BufferView view;
    view.buffer = static_cast<int>(model_.buffers.size());
    view.byteLength = bytes.size();
    model_.buffers.emplace_back().data = std::move(bytes);
    accessor.bufferView = static_cast<int>(model_.bufferViews.size());
    accessor.byteOffset = 0;
    accessor.sparse.isSparse = false;
    model_.bufferViews.push_back(std::move(view));
    model_.accessors.push_back(std::move(accessor));
    return static_cast<int>(model_.accessors.size()) - 1;
  }

  tinygltf::Model& model_;
  std::uint64_t budget_;
};

}  // namespace

void decompressMeshes(GltfDocument& document) {
  Decompressor decompressor(document.model);
  for (tinygltf::Mesh& mesh : document.model.meshes) {
    for (tinygltf::Primitive& primitive : mesh.primitives) {
      try {
        decompressor.decompress(primitive);
      } catch (const Error& error) {
        throw Error("the compressed mesh '" + excerpt(mesh.name) + "': " + error.what());
      }
    }
  }
}

}  // namespace quillmere::scene
