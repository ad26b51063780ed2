#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <glm/glm.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "image/image.h"

// A scene as the stand-alone host sees it: right-handed, Y up, metres, seconds; cameras look along their -Z
// (the conventions of glTF 2.0, https://registry.khronos.org/glTF/specs/2.0/glTF-2.0.html).
namespace quillmere::scene {

// The largest size of a coordinate: two of them may still be multiplied and squared in a float.
inline constexpr float kLargestNumber = 1e9F;

inline constexpr std::string_view kUnnamed = "default";  // what an object or a material without a name is called

// A picture laid onto a surface.
struct TextureMap {
  std::shared_ptr<const image::Image> picture;  // Byte RGBA; null without one
  std::uint32_t uvs = 0;                        // which of Geometry's texture coordinates it is laid by
  bool repeatU = true, repeatV = true;          // otherwise clamped to the edge
  bool mirrorU = false, mirrorV = false;
  bool nearest = false;  // otherwise filtered linearly
};

struct Material {
  std::string name;
  glm::vec4 baseColor{1.0F};  // linear RGBA factor
  TextureMap texture;         // base colour, sRGB-encoded
  enum class Alpha { Opaque, Mask, Blend } alpha = Alpha::Opaque;
  float alphaCutoff = 0.5F;
  bool doubleSided = false;
  bool unlit = false;        // KHR_materials_unlit: shown in its own colour, neither lit nor casting shadows
  glm::vec3 emission{0.0F};  // linear factor times strength: 1 is as bright as white under the light exposed for
  TextureMap emissionMap;    // sRGB-encoded, multiplied with it
  float metallic = 0.0F, roughness = 1.0F;  // 0-1
  TextureMap metalRoughnessMap;             // numbers, multiplied with them: blue is metallic, green roughness
  TextureMap normalMap;                     // numbers: directions in the frame of the texture coordinates, green up
  float normalScale = 1.0F;
  TextureMap occlusionMap;  // numbers: red is the share of light from all around that arrives
  float occlusionStrength = 1.0F;
};

// Triangles in object space. `indices` holds three per triangle, each below positions.size(); every other array is
// either empty or as long as `positions`. All numbers are finite and at most kLargestNumber in size.
struct Geometry {
  std::vector<glm::vec3> positions;
  std::vector<glm::vec3> normals;  // unit length; empty: each triangle is flat, with the normal of its own plane
  std::vector<glm::vec2> uvs;      // those that TextureMap::uvs calls 0
  std::vector<std::vector<glm::vec2>> otherUvs;  // 1 and up, of materials that lay pictures in several ways
  std::vector<glm::vec4> colors;                 // linear RGBA, multiplied with the material's base colour
  std::vector<std::uint32_t> indices;
};

// One geometry at one place. `geometry` is shared by instances and, where nothing deforms it, by snapshots, so its
// address may serve as the key of a cache for as long as the pointer is held.
struct Surface {
  std::shared_ptr<const Geometry> geometry;
  glm::mat4 toWorld{1.0F};  // finite and invertible, but possibly mirroring; what can't be inverted is left out
  int material = 0;         // index into Scene::materials, always valid
  int object = 0;           // index into Scene::objects, always valid
};

struct Light {
  enum class Kind { Directional, Point, Spot } kind = Kind::Point;
  glm::vec3 color{1.0F};  // linear, times the intensity: lux for Directional, candela otherwise
  glm::vec3 position{0.0F};
  glm::vec3 direction{0.0F, 0.0F, -1.0F};         // where it shines to, unit length
  float range = 0.0F;                             // metres, 0 = unlimited
  float innerCone = 0.0F, outerCone = 0.785398F;  // radians from the axis
};

struct Camera {
  glm::mat4 toWorld{1.0F};  // rotation and translation only
  bool orthographic = false;
  float yfov = 0.8F;  // perspective: full vertical angle in radians
  float ymag = 1.0F;  // orthographic: half of the height seen, in metres
  float znear = 0.01F;
  std::optional<float> zfar;  // none = infinite
  // The width follows from the aspect ratio of the picture that is drawn, not from the camera.
};

// The scene at one second.
struct Snapshot {
  std::vector<Surface> surfaces;
  std::vector<Light> lights;
  std::vector<Camera> cameras;  // parallel to Scene::cameras()
};

struct CameraInfo {
  std::string name;  // unique within the scene: node name, else camera name, else "Camera"; ".1", ".2" … are appended
  bool orthographic = false;
  bool animated = false;  // any animation that is played moves its node or one above it
  bool ofHost = false;    // stands in no file: made by this program (view_camera.h)
};

// An animation of the scene's file. Played clips run together, on one clock.
struct Clip {
  std::string name;             // unique within the scene: its own, else "Clip"; ".1", ".2" … are appended
  double begin = 0.0, end = 0;  // seconds, of its first and last key frame
  bool played = false;
};

// How much a file holds, of what the scene doesn't tell otherwise.
struct Contents {
  std::string generator;  // the program that wrote it; may be empty
  std::size_t nodes = 0, meshes = 0, images = 0, skins = 0;
};

class Scene {
 public:
  virtual ~Scene() = default;
  virtual const std::vector<CameraInfo>& cameras() const = 0;  // in document order, one per node that holds a camera
  virtual const std::vector<Material>& materials() const = 0;  // at least one
  // What people call the things in it, each name once: the nodes that show geometry. At least one.
  virtual std::vector<std::string> objects() const { return {std::string(kUnnamed)}; }
  virtual const std::vector<std::string>& warnings() const = 0;  // what was not honoured, one sentence each
  virtual double duration() const = 0;  // seconds to the last key frame of what is played, 0 when nothing moves
  virtual std::vector<Clip> clips() const { return {}; }  // in document order
  virtual Contents contents() const { return {}; }
  // Everything posed at `seconds` (outside the key frames held at the first and last key, or begun anew where the clips
  // are looped). Deterministic; any thread.
  virtual Snapshot at(double seconds) const = 0;
};

// Picks one of the clips that have these names; none: the first, with all that don't collide with those before them.
using ClipChoice = std::function<std::optional<std::size_t>(const std::vector<std::string>& names)>;

struct LoadSettings {
  ClipChoice clip;    // may be empty
  bool loop = false;  // what is played begins anew after its last key frame
};

// Loads glTF 2.0 (.gltf with its buffers and images beside it or embedded, .glb). Throws Error.
std::shared_ptr<const Scene> load(const std::filesystem::path& file, const LoadSettings& settings = {});

}  // namespace quillmere::scene
