#include "api/document.h"

#include <algorithm>
#include <utility>

#include "core/application_state.h"
#include "core/text.h"
#include "document/base_document.h"
#include "drendersettings.h"

namespace quillmere::host {

using cinema::HostSide;

namespace {

const HostSide<cinema::BasePlugin>::Parts& registered(int id) {
  const ApplicationState* application = applicationState();
  const cinema::BasePlugin* plugin =
      application ? application->registry.find(id, cinema::PLUGINTYPE::VIDEOPOST) : nullptr;
  if (plugin == nullptr)
    throw Error("cannot use effect " + std::to_string(id) + ": no module registered it, load its plug-in first");
  return HostSide<cinema::BasePlugin>::parts(*plugin);
}

int priorityOf(const HostSide<cinema::BaseVideoPost>::Owner& effect) {
  return registered(effect->GetType()).priority;
}

}  // namespace

struct Document::Parts {
  HostSide<cinema::BaseDocument>::Owner api;
  std::vector<Camera> cameras;

  explicit Parts(std::shared_ptr<const scene::Scene> scene);
  DocumentParts& document() const { return partsOf(*api); }
};

Document::Parts::Parts(std::shared_ptr<const scene::Scene> scene)
    : api(HostSide<cinema::BaseDocument>::make(std::make_unique<DocumentParts>(std::move(scene)))) {
  document().furnish(*api);
  for (std::size_t i = 0; i < document().cameras.size(); ++i) {
    const scene::CameraInfo& info = document().scene->cameras()[i];
    cameras.push_back({info.name, info.orthographic, info.animated, document().cameras[i].get()});
  }
}

Document::Document(const std::filesystem::path& scene) : Document(scene::load(scene), scene) {}

Document::Document(std::shared_ptr<const scene::Scene> scene) : Document(std::move(scene), {}) {}

Document::Document(std::shared_ptr<const scene::Scene> scene, const std::filesystem::path& file)
    : parts_(std::make_unique<Parts>(std::move(scene))) {
  const std::filesystem::path whole = file.empty() ? "Untitled 1" : std::filesystem::absolute(file).lexically_normal();
  parts_->document().name = filenameOf(whole.filename());
  parts_->document().folder = filenameOf(whole.parent_path());
}

Document::~Document() = default;

cinema::BaseDocument& Document::api() {
  return *parts_->api;
}
const std::vector<Document::Camera>& Document::cameras() const {
  return parts_->cameras;
}
const std::vector<std::string>& Document::warnings() const {
  return parts_->document().scene->warnings();
}
double Document::duration() const {
  return parts_->document().scene->duration();
}

void Document::setFps(int fps) {
  if (fps < 1) throw Error("cannot play " + std::to_string(fps) + " frames a second: choose 1 or more");
  parts_->document().fps = fps;
}

void Document::setFrame(int frame) {
  setFrame(frame, cinema::BaseTime(frame, parts_->document().fps).Get());
}

void Document::setFrame(int frame, double seconds) {
  parts_->document().time = cinema::BaseTime(frame, parts_->document().fps);
  parts_->document().seconds = seconds;
}

void Document::setSize(int width, int height) {
  if (std::min(width, height) < 1 || std::max(width, height) > image::kMaxSide) {
    throw Error("cannot render " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels: each side must be 1 to " + std::to_string(image::kMaxSide));
  }
  cinema::BaseContainer& settings = parts_->document().renderData->GetDataInstanceRef();
  settings.SetInt32(RDATA_XRES, width);
  settings.SetInt32(RDATA_YRES, height);
}

void Document::setDrawing(const render::FinalSettings& settings, render::Sides sides) {
  DocumentParts& document = parts_->document();
  document.finalSettings = settings;
  if (document.sides != sides) document.renderer.reset();
  document.sides = sides;
}

const render::FinalSettings& Document::finalSettings() const {
  return parts_->document().finalSettings;
}

void Document::drawPasses(const render::PassRequest& request, PassReceiver receive) {
  DocumentParts& document = parts_->document();
  document.passRequest = request;
  document.takePasses = nullptr;
  if (!receive) return;
  document.takePasses = [&document, receive = std::move(receive)](
                            const image::Image& guide, const render::Passes& passes, const scene::Camera& camera) {
    receive({document.time.GetFrame(document.fps), guide, passes, camera});
  };
}

const std::string& Document::drawingNote() const {
  return parts_->document().note;
}

cinema::BaseVideoPost& Document::addVideoPost(int id) {
  const auto& plugin = registered(id);
  auto node = std::make_unique<cinema::AtomParts>(id);
  node->name = plugin.name;
  node->document = parts_->api.get();
  node->data.reset(plugin.allocate ? plugin.allocate() : nullptr);
  if (!node->data) throw Error("cannot use effect " + std::to_string(id) + ": its module could not make it");
  cinema::NodeData& data = *node->data;
  auto effect = HostSide<cinema::BaseVideoPost>::make(std::move(node));
  if (!data.Init(effect.get(), false))
    throw Error("cannot use effect " + std::to_string(id) + ": it refused to initialise");
  auto& effects = parts_->document().effects;
  const auto later = std::find_if(effects.begin(), effects.end(),
                                  [&](const auto& other) { return priorityOf(other) < plugin.priority; });
  return **effects.insert(later, std::move(effect));
}

}  // namespace quillmere::host
