#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "base/error.h"
#include "scene/animation.h"
#include "scene/unique_names.h"

namespace quillmere::scene {
namespace {

constexpr std::pair<std::string_view, Property> kProperties[] = {{"translation", Property::Translation},
                                                                 {"rotation", Property::Rotation},
                                                                 {"scale", Property::Scale},
                                                                 {"weights", Property::Weights}};
constexpr std::pair<std::string_view, Interpolation> kInterpolations[] = {{"", Interpolation::Linear},
                                                                          {"STEP", Interpolation::Step},
                                                                          {"LINEAR", Interpolation::Linear},
                                                                          {"CUBICSPLINE", Interpolation::CubicSpline}};

template <class Value>
std::optional<Value> valueNamed(std::string_view name, std::span<const std::pair<std::string_view, Value>> names) {
  for (const auto& [known, value] : names) {
    if (known == name) return value;
  }
  return std::nullopt;
}

using Targets = std::set<std::pair<int, std::string>>;  // nodes and the paths that are moved of them

Targets targetsOf(const tinygltf::Animation& animation) {
  Targets targets;
  for (const auto& channel : animation.channels) {
    if (channel.target_node >= 0) targets.insert({channel.target_node, channel.target_path});
  }
  return targets;
}

std::vector<bool> chosenAnimations(const tinygltf::Model& model, std::optional<std::size_t> choice) {
  std::vector<bool> played(model.animations.size());
  if (choice) {
    played.at(*choice) = true;
    return played;
  }
  Targets taken;
  for (std::size_t i = 0; i < played.size(); ++i) {
    Targets targets = targetsOf(model.animations[i]);
    played[i] = std::none_of(targets.begin(), targets.end(), [&](const auto& one) { return taken.count(one) > 0; });
    if (played[i]) taken.merge(targets);
  }
  return played;
}

class Importer {
 public:
  Importer(GltfDocument& document, AccessorReader& reader, const NodeGraph& graph)
      : document_(document), reader_(reader), graph_(graph) {}

  // From the first to the last key of what moves something.
  void measure(const tinygltf::Animation& animation, Clip& clip) {
    std::optional<TimeSpan> all;
    for (const auto& channel : animation.channels) {
      const bool known = channel.sampler >= 0 && static_cast<std::size_t>(channel.sampler) < animation.samplers.size();
      if (channel.target_node < 0 || !known) continue;
      const auto span = spanOf(animation.samplers[static_cast<std::size_t>(channel.sampler)].input);
      if (span) all = all ? TimeSpan{std::min(all->first, span->first), std::max(all->second, span->second)} : *span;
    }
    if (all) std::tie(clip.begin, clip.end) = *all;
  }

  void play(const tinygltf::Animation& animation, const tinygltf::AnimationChannel& channel) {
    if (channel.target_node < 0) return;  // allowed, and moves nothing
    itemAt(graph_.nodes, channel.target_node, "node");
    const auto property = valueNamed<Property>(channel.target_path, kProperties);
    const auto& sampler = itemAt(animation.samplers, channel.sampler, "animation sampler");
    const auto interpolation = valueNamed<Interpolation>(sampler.interpolation, kInterpolations);
    const std::string what = "the animation '" + animation.name + "' of node " + std::to_string(channel.target_node);
    if (!property || !interpolation) {
      document_.warnings.add(what + " is not played: its target or interpolation is unknown");
    } else if (graph_.nodes[static_cast<std::size_t>(channel.target_node)].matrix && *property != Property::Weights) {
      document_.warnings.add(what + " is not played: the node has a matrix");
    } else if (!taken_.insert({channel.target_node, *property}).second) {
      document_.warnings.add(what + " moves the same twice; the first one is played");
    } else {
      addTrack(read({channel.target_node, *property, *interpolation, {}, {}, widthOf(channel.target_node, *property)},
                    sampler, what));
    }
  }

  std::vector<Track> tracks;

 private:
  using TimeSpan = std::pair<double, double>;

  // Each accessor is read once, however many animations share it.
  std::optional<TimeSpan> spanOf(int accessor) {
    const auto [found, isNew] = spans_.try_emplace(accessor);
    if (isNew) {
      const std::vector<float> times = reader_.scalars(accessor);
      if (!times.empty()) {
        const auto [least, most] = std::minmax_element(times.begin(), times.end());
        found->second = TimeSpan{*least, *most};
      }
    }
    return found->second;
  }

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
    track.values = reader_.floats(sampler.output);
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
  std::map<int, std::optional<TimeSpan>> spans_;
};

std::vector<std::string> clipNames(const tinygltf::Model& model) {
  UniqueNames unique;
  std::vector<std::string> names;
  for (const auto& animation : model.animations) {
    names.push_back(unique.make(animation.name.empty() ? "Clip" : excerpt(animation.name)));
  }
  return names;
}

}  // namespace

Playback importAnimations(GltfDocument& document, AccessorReader& reader, const NodeGraph& graph,
                          const ClipChoice& choose) {
  const auto& animations = document.model.animations;
  const std::vector<std::string> names = clipNames(document.model);
  const std::vector<bool> played = chosenAnimations(document.model, choose ? choose(names) : std::nullopt);
  Importer importer(document, reader, graph);
  std::vector<Clip> clips;
  for (std::size_t i = 0; i < animations.size(); ++i) {
    clips.push_back({names[i], 0.0, 0.0, played[i]});
    importer.measure(animations[i], clips.back());
    if (!played[i]) continue;
    for (const auto& channel : animations[i].channels) importer.play(animations[i], channel);
  }
  return {std::move(clips), std::move(importer.tracks)};
}

}  // namespace quillmere::scene
