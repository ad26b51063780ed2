#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quillmere::app {

// Copies of what a render reads, in a folder that travels with its job.
class Bundle {
 public:
  // The folder is made with the first copy.
  explicit Bundle(std::filesystem::path folder) : folder_(std::move(folder)) {}

  // Each returns the copy of `file`, which keeps its name; files of one name stand in folders of their own. Throws
  // Failure for what can't be read or written.
  std::filesystem::path add(const std::filesystem::path& file);
  // With the buffers and pictures that it names, which lie beside it or in folders below.
  std::filesystem::path addScene(const std::filesystem::path& file);
  // With the graph that it names, which lies beside it.
  std::filesystem::path addWorkflow(const std::filesystem::path& file);

 private:
  // A folder that holds no file yet.
  std::filesystem::path nextFolder();

  std::filesystem::path folder_;
  int count_ = 0;
};

}  // namespace quillmere::app
