#pragma once

#include <tiny_gltf.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "scene/warnings.h"

namespace quillmere::scene {

// A parsed glTF document. Nothing in `model` is checked beyond its grammar: every index, length and number in it may be
// anything. Accessors are read with an AccessorReader.
struct GltfDocument {
  std::filesystem::path folder;
  tinygltf::Model model;
  std::vector<std::vector<std::uint8_t>> embeddedImages;  // by image: the file within its data URI, otherwise empty
  Warnings warnings;
};

// Parses a document and loads its buffers; images stay encoded. Throws Error (the reason alone), for unsupported
// required extensions too; other unsupported extensions become warnings.
GltfDocument parseGltf(const std::filesystem::path& file);

// The file that a relative reference of a scene in `folder` means; percent escapes are decoded. A scene may come from
// anywhere, so it may name files beside itself and in folders below, and nothing else: schemes, absolute paths, ".."
// and links that leave the folder throw Error (the reason alone).
std::filesystem::path resolveReference(const std::filesystem::path& folder, const std::string& uri);

// The bytes of a buffer view, known to lie inside its buffer; borrowed from `model`. Throws Error (the reason alone).
std::span<const std::uint8_t> viewBytes(const tinygltf::Model& model, int view);

// The whole number under `key` in the extension `name`, where there is one.
std::optional<int> extensionIndex(const tinygltf::ExtensionMap& extensions, const char* name, const char* key);

// A number of the document's JSON as a float that can be computed with: beyond kLargestNumber it becomes that.
float toFloat(double number);

[[noreturn]] void throwMissing(const char* what, int index, std::size_t count);

// Checked access by index; `what` names the list in the error ("mesh" gives "there is no mesh 7, …").
template <class T>
const T& itemAt(const std::vector<T>& items, int index, const char* what) {
  if (index < 0 || static_cast<std::size_t>(index) >= items.size()) throwMissing(what, index, items.size());
  return items[static_cast<std::size_t>(index)];
}

}  // namespace quillmere::scene
