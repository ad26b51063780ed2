#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "ordinary_file.h"

namespace quillmere::app {

// Where the effect looks for the workflow manager's files: below $HOME, or below the working directory without one.
class ManagerFolder {
 public:
  ManagerFolder();

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path state() const;
  // Where the manager kept its state under its former name. It is read while there is no other, and never written.
  std::filesystem::path formerState() const;
  // Of the two the one that the effect reads, whether it is there or not.
  std::filesystem::path stateInUse() const;
  std::filesystem::path workflow(const std::string& id) const;

 private:
  std::filesystem::path home_, path_;
};

// What lies in the place of the state that the effect reads whenever a node is made or asked; none when all is well.
std::optional<Obstacle> stateObstacle();

}  // namespace quillmere::app
