#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "api/application.h"
#include "c4d.h"
#include "render/renderer.h"
#include "scene/scene.h"

namespace quillmere::host {

// What is drawn of the scene with a guide, from the same rays.
struct GuidePasses {
  int frame;
  const image::Image& guide;  // Byte RGB of quick shading, Float RGB of a rendering
  const render::Passes& passes;
  const scene::Camera& camera;
};
using PassReceiver = std::function<void(const GuidePasses&)>;

// A scene file opened as a host document: its cameras as objects, one active render data, a render view that is also
// the active view, and the effects put into its render settings. Owns everything that the API hands out of it.
class QM_HOST_API Document {
 public:
  // Loads a glTF 2.0 scene; the first camera, if any, becomes the view's scene camera. Throws Error (the scene's text).
  explicit Document(const std::filesystem::path& scene);
  // A scene made in memory: a document that was never saved, so it has no path.
  explicit Document(std::shared_ptr<const scene::Scene> scene);
  // A scene that was loaded from `file`; an empty one says the same as none.
  Document(std::shared_ptr<const scene::Scene> scene, const std::filesystem::path& file);
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  cinema::BaseDocument& api();

  struct Camera {
    std::string name;
    bool orthographic, animated;
    cinema::BaseObject* object;
  };
  const std::vector<Camera>& cameras() const;
  const std::vector<std::string>& warnings() const;
  double duration() const;  // seconds

  void setFps(int fps);      // 1 and up, else Error; 30 when never set; the time stays
  void setFrame(int frame);  // moves the document's time, at the present rate
  // The same, with the scene at a second of its own: for rates that are no whole number, which the API can't tell.
  void setFrame(int frame, double seconds);
  void setSize(int width,
               int height);  // of the render data, 1 to image::kMaxSide, else Error; 1024 x 576 when never set

  // How the host draws the document: its lines under the effects', and its guides. The settings' seed counts, too.
  void setDrawing(const render::FinalSettings& settings, render::Sides sides);
  const render::FinalSettings& finalSettings() const;
  // Has these passes drawn with each guide that an effect asks for; `receive` gets them on the effect's thread, before
  // the effect has the guide, and what it throws is why there is no guide. An empty one ends that.
  void drawPasses(const render::PassRequest& request, PassReceiver receive);
  // What the console was told about the first drawing that is nearly all black or white; empty without one.
  const std::string& drawingNote() const;

  // Makes a node of the registered video post `id` (Alloc, then Init(node, false)) and puts it into the render
  // settings, or throws Error that says whether the plug-in is missing or refused to initialise.
  cinema::BaseVideoPost& addVideoPost(int id);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillmere::host
