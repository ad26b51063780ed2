#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "pass_settings.h"

// Passes as pictures for image generators: Byte or Word RGB.
namespace quillmere::app {

// One flat colour for each name of objects or materials. It follows from the name, so it is the same in all frames and
// scenes, but for the rare one that another name has already. Black is nothing.
class NameColors {
 public:
  explicit NameColors(const std::vector<std::string>& names);

  std::uint32_t colorOf(std::uint32_t id) const;  // rgb; 0 for an id that is none of theirs
  // The object or material that covers most of each pixel, without anti-aliasing.
  image::Image picture(const std::vector<image::Image>& mattes) const;
  // The names that are in the picture, by their colour "rrggbb".
  Json namesIn(const std::vector<image::Image>& mattes) const;

 private:
  struct Named {
    std::uint32_t color;
    std::string name;
  };
  std::map<std::uint32_t, Named> byId_;
};

// What is named in a scene.
struct SceneNames {
  std::vector<std::string> objects, materials;  // each once

  explicit SceneNames(const scene::Scene& scene);
};

image::Image depthPicture(const render::Passes& passes);
// Where nothing is seen it is the colour of what faces the viewer, in all conventions.
image::Image normalPicture(const render::Passes& passes, NormalKind kind);
image::Image albedoPicture(const render::Passes& passes);  // on black
image::Image linesPicture(const render::Passes& passes, LineColor color);
image::Image mattePicture(const std::vector<image::Image>& mattes, std::uint32_t id);  // white where it is

}  // namespace quillmere::app
