#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace quillmere::app {

enum class FileFormat { Png8, Png16, Exr };

// Where the frames go and as what. The frame's number stands for "####" (padded with zeros to as many digits: frame -7
// is "-0007"), "%04d", "$F4" and "{frame}" (four digits), the camera's name for "{camera}"; in folders a single '#' is
// a '#'. "%%" is a '%'. The name's end chooses the format: .png has 8 bits a channel, .16.png has 16, .exr has floats;
// upper and lower case are alike.
class OutputPattern {
 public:
  // Throws Failure (usage) for any other ending, for a pattern without a file name, and for what looks like a
  // placeholder but is none.
  static OutputPattern parse(const std::string& text);

  FileFormat format() const { return format_; }
  // What parse() reads as the same pattern, as long as no camera's name stands in it.
  std::string text() const;
  // The folder as far as it is the same for all frames; may be empty: the working directory.
  std::filesystem::path folder() const;
  bool numbersFrames() const { return has(Piece::Kind::Frame); }
  bool namesCameras() const { return has(Piece::Kind::Camera); }
  // With "_####", or "_{camera}", put before the ending when there is no such placeholder, so that what is rendered
  // doesn't share one file.
  OutputPattern numberingFrames() const;
  OutputPattern namingCameras() const;
  // With the camera's name in its place, as far as a file's name can hold it.
  OutputPattern forCamera(const std::string& camera) const;
  std::filesystem::path fileFor(std::int32_t frame) const;
  // A file beside them for what concerns all frames: the name without number and camera, ".log" at its end.
  std::filesystem::path logFile() const;

 private:
  struct Piece {
    enum class Kind { Text, Frame, Camera } kind = Kind::Text;
    std::string text;        // of a Text
    std::size_t digits = 0;  // at least, of a Frame
  };

  bool has(Piece::Kind kind) const;
  // Of the first `length` characters, of which `folders` belong to the folder.
  void readPieces(const std::string& text, std::size_t length, std::size_t folders);

  std::vector<Piece> pieces_;  // the path without its ending
  std::string ending_;
  FileFormat format_ = FileFormat::Png8;
};

// Throws Failure (usage) when the pictures of two cameras would go into the same file: names that differ may become one
// where a file is called after them.
void refuseSharedFiles(const std::vector<std::string>& cameras, const OutputPattern& output);

}  // namespace quillmere::app
