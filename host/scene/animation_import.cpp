#include "scene/animation_import.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "scene/scene.h"

namespace quillmere::scene {
namespace {

std::optional<Property> propertyNamed(const std::string& path) {
  static const std::map<std::string, Property> kNames{{"translation", Property::Translation},
                                                      {"rotation", Property::Rotation},
                                                      {"scale", Property::Scale},
                                                      {"weights", Property::Weights}};
  const auto found = kNames.find(path);
  return found == kNames.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Interpolation> interpolationNamed(const std::string& name) {
  static const std::map<std::string, Interpolation> kNames{
      {"STEP", Interpolation::Step}, {"LINEAR", Interpolation::Linear}, {"CUBICSPLINE", Interpolation::CubicSpline}};
  const auto found = kNames.find(name);
  return found == kNames.end() ? std::nullopt : std::optional(found->second);
}

class Importer {
 public:
  Importer(GltfDocument& document, AccessorReader& reader, const NodeGraph& graph)
      : document_(document), reader_(reader), graph_(graph) {}

  void add(const tinygltf::Animation& animation, const tinygltf::AnimationChannel& channel) {
    if (channel.target_node < 0) return;  // allowed, and moves nothing
    itemAt(graph_.nodes, channel.target_node, "node");
    const auto property = propertyNamed(channel.target_path);
    const auto& sampler = itemAt(animation.samplers, channel.sampler, "animation sampler");
    const auto interpolation = interpolationNamed(sampler.interpolation.empty() ? "LINEAR" : sampler.interpolation);
    const std::string what = "the animation '" + animation.name + "' of node " + std::to_string(channel.target_node);
    if (!property || !interpolation) {
      document_.warnings.add(what + " is not played: its target or interpolation is unknown");
    } else if (graph_.nodes[static_cast<std::size_t>(channel.target_node)].matrix && *property != Property::Weights) {
      document_.warnings.add(what + " is not played: the node has a matrix");
    } else if (!taken_.insert({channel.target_node, *property}).second) {
      document_.warnings.add("several animations move the same nodes; of each node the first one is played");
    } else {
      addTrack(read({channel.target_node, *property, *interpolation, {}, {}, widthOf(channel.target_node, *property)},
                    sampler, what));
    }
  }

  std::vector<Track> tracks;

 private:
  void addTrack(Track track) {
    if (track.width > 0 && !track.times.empty()) tracks.push_back(std::move(track));
  }

  std::size_t widthOf(int node, Property property) const {
    if (property == Property::Rotation) return 4;
    if (property != Property::Weights) return 3;
    const int mesh = document_.model.nodes[static_cast<std::size_t>(node)].mesh;
    if (mesh < 0) return 0;
    const auto& primitives = itemAt(document_.model.meshes, mesh, "mesh").primitives;
    return primitives.empty() ? 0 : primitives.front().targets.size();
  }

  Track read(Track track, const tinygltf::AnimationSampler& sampler, const std::string& what) {
    track.times = reader_.scalars(sampler.input);
    track.values = reader_.anyFloats(sampler.output);
    if (!std::is_sorted(track.times.begin(), track.times.end())) {
      throw Error(what + " has key frames that go back in time");
    }
    const std::size_t parts = track.interpolation == Interpolation::CubicSpline ? 3 : 1;
    const std::size_t needed = track.times.size() * parts * track.width;
    if (track.values.size() != needed) {
      throw Error(what + " has " + std::to_string(track.values.size()) + " numbers where its key frames need " +
                  std::to_string(needed));
    }
    return track;
  }

  GltfDocument& document_;
  AccessorReader& reader_;
  const NodeGraph& graph_;
  std::set<std::pair<int, Property>> taken_;
};

}  // namespace

std::vector<Track> importAnimations(GltfDocument& document, AccessorReader& reader, const NodeGraph& graph) {
  Importer importer(document, reader, graph);
  for (const auto& animation : document.model.animations) {
    for (const auto& channel : animation.channels) importer.add(animation, channel);
  }
  return std::move(importer.tracks);
}

}  // namespace quillmere::scene
