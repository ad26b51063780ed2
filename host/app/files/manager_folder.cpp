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

fs::path ManagerFolder::stateInUse() const {
  std::error_code error;
  return fs::exists(state(), error) ? state() : formerState();
}

fs::path ManagerFolder::workflow(const std::string& id) const {
  return path_ / "workflows" / (id + ".json");
}

std::optional<Obstacle> stateObstacle() {
  return obstacleAt("workflow list", ManagerFolder().stateInUse());
}

}  // namespace quillmere::app
