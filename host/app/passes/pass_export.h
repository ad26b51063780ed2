#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "pass_pictures.h"
#include "sdk/api/document.h"
#include "values/output_pattern.h"

namespace quillmere::app {

// The files that passes are written to for people: pictures, one for each pass, or an EXR that holds them all.
class PassExport {
 public:
  // `names` are those of passes, or "all": of those that the format can hold. Several pictures go into files with the
  // pass's name before the ending, or for "{pass}" in `output`. Throws Failure (usage).
  PassExport(const std::string& output, const std::vector<std::string>& names, const PassSettings& settings);

  // As OutputPattern has it: with a placeholder for what there are several of.
  void numberFrames();
  void nameCameras();
  void refuseSharedFiles(const std::vector<std::string>& cameras) const;

  render::PassRequest request() const;  // but for the range of depths
  bool hasDepthPicture() const;
  // Whether the guide itself is in the file, and so has to stand on black.
  bool holdsColor() const { return isExr() && passes_.has(render::Pass::Color); }

  // Returns the files. Throws Error.
  std::vector<std::filesystem::path> write(const host::GuidePasses& drawn, const SceneNames& names,
                                           const std::string& camera) const;

 private:
  bool isExr() const { return files_.front().output.format() == FileFormat::Exr; }
  image::Image pictureOf(render::Pass pass, const render::Passes& passes, const SceneNames& names) const;

  struct File {
    render::Pass pass;  // without meaning for an EXR
    OutputPattern output;
  };
  std::vector<File> files_;
  render::PassSet passes_;
  PassSettings settings_;
};

}  // namespace quillmere::app
