#include "manager_folder.h"

#include <cstdlib>

namespace quillmere::app {

namespace fs = std::filesystem;

ManagerFolder::ManagerFolder() {
  const char* const home = std::getenv("HOME");
  home_ = home ? home : "";
  path_ = home_ / ".quillmere";
}

fs::path ManagerFolder::state() const {
  return path_ / "state.json";
}

fs::path ManagerFolder::formerState() const {
  return home_ / ".tallowcrest" / "state.json";
}

fs::path ManagerFolder::workflow(const std::string& id) const {
  return path_ / "workflows" / (id + ".json");
}

std::optional<Obstacle> stateObstacle() {
  const ManagerFolder manager;
  std::error_code error;
  const fs::path present = fs::exists(manager.state(), error) ? manager.state() : manager.formerState();
  return obstacleAt("workflow list", present);
}

}  // namespace quillmere::app
