#include <CLI/CLI.hpp>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <set>

#include "base/json.h"
#include "base/utf8.h"
#include "commands.h"
#include "report/output.h"
#include "scene_options.h"

namespace quillmere::app {
namespace {

struct Options {
  SceneOptions scene;
  bool json = false;
};

// Counted at the beginning of what is played.
struct Counts {
  std::size_t triangles = 0, instances = 0, geometries = 0;
};

Counts countsOf(const scene::Snapshot& snapshot) {
  std::set<const scene::Geometry*> geometries;
  Counts counts;
  for (const scene::Surface& surface : snapshot.surfaces) {
    counts.triangles += surface.geometry->indices.size() / 3;
    geometries.insert(surface.geometry.get());
  }
  counts.instances = snapshot.surfaces.size();
  counts.geometries = geometries.size();
  return counts;
}

Json rounded(double number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.6g", number);
  return Json::parse(text.data(), nullptr, false);
}

Json vector(glm::vec3 v) {
  return {rounded(static_cast<double>(v.x)), rounded(static_cast<double>(v.y)), rounded(static_cast<double>(v.z))};
}

Json clipsOf(const scene::Scene& scene, const FrameRate& rate) {
  Json list = Json::array();
  for (const scene::Clip& clip : scene.clips()) {
    const double perSecond = static_cast<double>(rate.frames) / rate.seconds;
    list.push_back({{"name", clip.name},
                    {"seconds", rounded(clip.end - clip.begin)},
                    {"first_frame", std::lround(clip.begin * perSecond)},
                    {"last_frame", std::lround(clip.end * perSecond)},
                    {"played", clip.played}});
  }
  return list;
}

Json cameraOf(const scene::CameraInfo& info, const scene::Camera& camera) {
  Json entry{{"name", info.name},
             {"kind", info.orthographic ? "orthographic" : "perspective"},
             {"animated", info.animated},
             {"of_host", info.ofHost},
             {"near", rounded(static_cast<double>(camera.znear))},
             {"far", camera.zfar ? rounded(static_cast<double>(*camera.zfar)) : Json()}};
  if (info.orthographic) {
    entry["height"] = rounded(2.0 * static_cast<double>(camera.ymag));
  } else {
    const double angle = static_cast<double>(camera.yfov);
    entry["angle"] = rounded(angle * 180.0 / std::numbers::pi);
    entry["focal_length"] = rounded(12.0 / std::tan(angle / 2.0));  // of a picture 24 mm high
  }
  return entry;
}

Json camerasOf(const scene::Scene& scene, const scene::Snapshot& snapshot) {
  Json list = Json::array();
  for (std::size_t i = 0; i < snapshot.cameras.size(); ++i) {
    list.push_back(cameraOf(scene.cameras()[i], snapshot.cameras[i]));
  }
  return list;
}

Json lightsOf(const scene::Snapshot& snapshot) {
  constexpr std::array kKinds{"directional", "point", "spot"};
  Json list = Json::array();
  for (const scene::Light& light : snapshot.lights) {
    list.push_back({{"kind", kKinds[static_cast<std::size_t>(light.kind)]}, {"color", vector(light.color)}});
  }
  return list;
}

Json boundsOf(const scene::Bounds& bounds) {
  if (bounds.empty()) return {};
  return {{"least", vector(bounds.least)}, {"most", vector(bounds.most)}, {"size", vector(bounds.most - bounds.least)}};
}

Json materialsOf(const scene::Scene& scene) {
  Json names = Json::array();
  for (const scene::Material& material : scene.materials()) names.push_back(material.name);
  if (!names.empty() && names.back().get_ref<const std::string&>().empty())
    names.erase(names.size() - 1);  // that of surfaces which have none
  return names;
}

Json described(const scene::Scene& scene, const FrameRate& rate) {
  const scene::Snapshot snapshot = scene.at(0.0);
  const Counts counts = countsOf(snapshot);
  const scene::Contents contents = scene.contents();
  return {{"generator", contents.generator},
          {"bounds", boundsOf(scene::boundsOf(scene, {0.0}))},
          {"triangles", counts.triangles},
          {"instances", counts.instances},
          {"geometries", counts.geometries},
          {"nodes", contents.nodes},
          {"meshes", contents.meshes},
          {"skins", contents.skins},
          {"textures", contents.images},
          {"materials", materialsOf(scene)},
          {"fps", rate.text()},
          {"clips", clipsOf(scene, rate)},
          {"cameras", camerasOf(scene, snapshot)},
          {"lights", lightsOf(snapshot)},
          {"not_supported", scene.warnings()}};
}

std::string shown(const Json& text) {
  return printable(text.get<std::string>());
}

std::string triple(const Json& v, const char* between) {
  return v[0].dump() + between + v[1].dump() + between + v[2].dump();
}

std::string clipLine(const Json& clip) {
  return "clip       " + shown(clip["name"]) + "\t" + clip["seconds"].dump() + " s, frames " +
         clip["first_frame"].dump() + " to " + clip["last_frame"].dump() + (clip["played"] ? "" : ", not played") +
         "\n";
}

std::string cameraLine(const Json& camera) {
  const std::string lens = camera.contains("height")
                               ? camera["height"].dump() + " m high"
                               : camera["focal_length"].dump() + " mm (" + camera["angle"].dump() + " degrees)";
  return "camera     " + shown(camera["name"]) + "\t" + shown(camera["kind"]) + ", " + lens + ", from " +
         camera["near"].dump() + (camera["far"].is_null() ? " m on" : " to " + camera["far"].dump() + " m") +
         (camera["animated"] ? ", animated" : "") + (camera["of_host"] ? ", made by the host" : "") + "\n";
}

std::string linesOf(const Json& scene) {
  std::string lines;
  const auto count = [&](const char* label, const char* key) { lines += label + scene[key].dump() + "\n"; };
  if (!scene["generator"].get_ref<const std::string&>().empty())
    lines += "written by " + shown(scene["generator"]) + "\n";
  const Json& bounds = scene["bounds"];
  if (bounds.is_null()) {
    lines += "size       nothing to see\n";
  } else {
    lines += "size       " + triple(bounds["size"], " x ") + " m, from " + triple(bounds["least"], ", ") + " to " +
             triple(bounds["most"], ", ") + "\n";
  }
  count("triangles  ", "triangles");
  count("instances  ", "instances");
  count("textures   ", "textures");
  lines += "materials  " + std::to_string(scene["materials"].size()) + "\n";
  for (const Json& clip : scene["clips"]) lines += clipLine(clip);
  for (const Json& camera : scene["cameras"]) lines += cameraLine(camera);
  for (const Json& light : scene["lights"]) {
    lines += "light      " + shown(light["kind"]) + "\t" + triple(light["color"], " ") + "\n";
  }
  for (const Json& sentence : scene["not_supported"]) lines += "note       " + shown(sentence) + "\n";
  return lines;
}

ExitStatus run(const Options& options) {
  const Json scene = described(*openScene(options.scene, {}).scene, options.scene.clock.rate);
  printResult(options.json ? lineOf(scene) : linesOf(scene));
  return ExitStatus::Done;
}

}  // namespace

Action addInfo(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneFile(command, options->scene.scene);
  addClipOptions(command, options->scene);
  addFrameRate(command, options->scene);
  command.add_flag("--json", options->json, "Print a JSON object instead of lines");
  command.footer("Example:\n  quillmere info harbour.glb --fps 24");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
