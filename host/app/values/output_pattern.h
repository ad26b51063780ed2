#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace quillmere::app {

enum class FileFormat { Png8, Png16, Exr };

// Where the frames go and as what: '#'s in the file's name stand for the frame number, padded with zeros to as many
// digits (frame -7 as "####" is "-0007"). The name's end chooses the format: .png has 8 bits a channel, .16.png has
// 16, .exr has floats; upper and lower case are alike.
class OutputPattern {
 public:
  // Throws Failure (usage) for any other ending and for a pattern without a file name.
  static OutputPattern parse(const std::string& text);

  FileFormat format() const { return format_; }
  std::filesystem::path folder() const { return folder_; }  // may be empty: the working directory
  bool numbersFrames() const { return name_.find('#') != std::string::npos; }
  // With a "_####" put before the ending when there is no '#', so that several frames don't share one file.
  OutputPattern numberingFrames() const;
  std::filesystem::path fileFor(std::int32_t frame) const;

 private:
  std::filesystem::path folder_;
  std::string name_, ending_;  // the file's name in two pieces
  FileFormat format_ = FileFormat::Png8;
};

}  // namespace quillmere::app
