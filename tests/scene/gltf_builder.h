#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "scene/scene.h"
#include "temporary_folder.h"

namespace quillmere::scene {

// Makes small binary glTF files: `json` is the document, free to be changed; data is appended to its one buffer.
class GltfBuilder {
 public:
  GltfBuilder();

  nlohmann::json json;

  int view(const std::string& bytes);
  // An accessor of T's component type with a buffer view of its own.
  template <class T>
  int accessor(const std::vector<T>& numbers, const std::string& type) {
    const std::string bytes(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(T));
    return accessorOf(view(bytes), componentType(T()), numbers.size() / componentsOf(type), type);
  }
  // A mesh of one primitive on a node of its own in the scene; returns the node.
  int show(nlohmann::json primitive);
  int addNode(nlohmann::json node);
  int add(const std::string& list, nlohmann::json item);
  // One triangle: (0,0,0), (1,0,0), (0,1,0).
  nlohmann::json triangle();
  // Animates a node by keys at 0, 1, 2 … seconds.
  template <class T>
  void animate(int node, const std::string& path, const std::string& interpolation, int keys,
               const std::vector<T>& values, const std::string& type) {
    addChannel(node, path, interpolation, keys, accessor(values, type));
  }

  std::string glb() const;
  std::shared_ptr<const Scene> load() const;
  std::string refusal() const;  // of load(); empty when there is none

 private:
  static int componentType(std::uint8_t) { return 5121; }
  static int componentType(std::int8_t) { return 5120; }
  static int componentType(std::uint16_t) { return 5123; }
  static int componentType(std::int16_t) { return 5122; }
  static int componentType(std::uint32_t) { return 5125; }
  static int componentType(float) { return 5126; }
  static std::size_t componentsOf(const std::string& type);
  int accessorOf(int view, int componentType, std::size_t count, const std::string& type);
  void addChannel(int node, const std::string& path, const std::string& interpolation, int keys, int output);

  std::string data_;
};

// Everything that a file can hold, at once: skin, morph targets, animation, sparse data, texture, light, instances.
GltfBuilder richScene();

// Whether any of the scene's warnings contains `text`.
bool warnsOf(const Scene& scene, const std::string& text);

}  // namespace quillmere::scene
