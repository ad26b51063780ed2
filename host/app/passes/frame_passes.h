#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "pass_wish.h"
#include "sdk/api/document.h"

namespace quillmere::app {

// Where passes for the helper go.
struct PassFiles {
  std::function<std::filesystem::path(const std::string& stem, int frame)> fileFor;  // of a PNG
  std::function<void(const Json& passes)> tell;  // the helper of the frame that is drawn next, before it starts
};

// While this lives, each guide that the effect has drawn of the document leaves the passes of the wish beside it, at
// its size and through its camera, and the helper is told what lies where and how it is to be read. One that can't be
// written is why the guide isn't drawn.
class FramePasses {
 public:
  // `settings` must tell the range of depths where the wish has depth; what the wish leaves open it decides. Throws
  // Failure for a matte of a name that the scene doesn't have.
  FramePasses(host::Document& document, const scene::Scene& scene, PassWish wish, const PassSettings& settings,
              PassFiles files);
  ~FramePasses();
  FramePasses(const FramePasses&) = delete;
  FramePasses& operator=(const FramePasses&) = delete;

 private:
  render::PassRequest request() const;
  Json write(const host::GuidePasses& drawn) const;
  std::string save(const image::Image& picture, const std::string& stem, int frame) const;
  Json mattesOf(const host::GuidePasses& drawn) const;

  host::Document& document_;
  PassWish wish_;
  PassSettings settings_;
  PassFiles files_;
  SceneNames names_;
  NameColors objectColors_, materialColors_;
  std::vector<WishedMatte> mattes_;
};

}  // namespace quillmere::app
