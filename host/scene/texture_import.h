#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "scene/gltf_document.h"
#include "scene/scene.h"

namespace quillmere::scene {

// Decodes the images of a document, each file once even when several images repeat its bytes.
class TextureLoader {
 public:
  explicit TextureLoader(GltfDocument& document) : document_(document) {}  // borrowed

  // Sets the image, wrapping and filter of `texture`. What can't be decoded leaves the material without an image and
  // adds a warning. Throws Error (the reason alone) for indices that do not exist and when the pictures need more than
  // 2 GiB in sum.
  void loadInto(Material& material, int texture);

 private:
  using Picture = std::shared_ptr<const image::Image>;
  Picture picture(int image);
  Picture decoded(std::string_view bytes, const std::string& name);
  const std::vector<std::uint8_t>& fileOf(const tinygltf::Image& image);

  GltfDocument& document_;
  // Files of different lengths can't be the same, however much they have in common.
  struct ShorterFirst {
    bool operator()(std::string_view a, std::string_view b) const {
      return a.size() != b.size() ? a.size() < b.size() : a.data() != b.data() && a < b;
    }
  };

  std::map<std::filesystem::path, std::vector<std::uint8_t>> files_;  // read from disk; `pictures_` views them
  std::map<std::string_view, Picture, ShorterFirst> pictures_;        // by the bytes of the encoded file
  std::uint64_t bytesLeft_ = std::uint64_t{2} << 30U;
};

}  // namespace quillmere::scene
