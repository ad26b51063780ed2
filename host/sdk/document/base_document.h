#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/atom.h"
#include "render/renderer.h"
#include "scene/scene.h"

namespace quillmere::host {

struct CameraParts : cinema::AtomParts {
  explicit CameraParts(std::size_t at) : Parts(Ocamera, {Obase}), index(at) {}
  const std::size_t index;  // in Scene::cameras()
};

// Modules can't tell documents, render settings and views by their type: no API that is modelled takes those IDs.
inline constexpr cinema::Int32 kNoType = 0;

struct ViewParts : cinema::AtomParts {
  ViewParts();
  cinema::BaseObject* camera = nullptr;  // of the same document; null for the editor camera
};

// A scene as a document of the API. All that it hands out stands in it, so it can't move.
struct DocumentParts : cinema::AtomParts {
  explicit DocumentParts(std::shared_ptr<const scene::Scene> shown);
  ~DocumentParts() override;

  // Makes the objects that know their document. Called once, when `api` has these parts.
  void furnish(cinema::BaseDocument& api);

  const std::shared_ptr<const scene::Scene> scene;
  std::unique_ptr<render::Renderer> renderer;  // made when something is first drawn
  render::FinalSettings finalSettings;
  render::PassRequest passRequest;
  // Gets the passes drawn with a guide; empty: none are drawn.
  std::function<void(const image::Image& guide, const render::Passes& passes, const scene::Camera& camera)> takePasses;
  std::string note;  // on what was drawn; empty when there is nothing to tell
  render::Sides sides = render::Sides::AsMaterialsSay;
  cinema::BaseTime time;
  cinema::Int32 fps = 30;
  double seconds = 0.0;  // of the scene; `time` counts frames of a whole rate, which the scene need not have
  cinema::Filename name, folder;
  render::StopTest userBreak;  // of the frame that is being rendered, empty otherwise

  cinema::HostSide<cinema::RenderData>::Owner renderData;
  cinema::HostSide<cinema::BaseDraw>::Owner view;                       // the render view and the active one
  std::vector<cinema::HostSide<cinema::BaseObject>::Owner> cameras;     // parallel to Scene::cameras()
  std::vector<cinema::HostSide<cinema::BaseVideoPost>::Owner> effects;  // in the order in which they are called
};

DocumentParts& partsOf(const cinema::BaseDocument& document);
ViewParts& partsOf(const cinema::BaseDraw& view);

// Null unless `object` is one of the document's own cameras.
const CameraParts* cameraOf(const DocumentParts& document, const cinema::BaseObject* object);

}  // namespace quillmere::host
