#include "camera_choice.h"

#include <vector>

#include "values/failure.h"
#include "values/named_choice.h"

namespace quillmere::app {

const host::Document::Camera& chosenCamera(const host::Document& document, const std::string& name) {
  std::vector<std::string> names;
  for (const host::Document::Camera& camera : document.cameras()) names.push_back(camera.name);
  const auto index = indexOfName(names, name);
  if (!index) {
    throw Failure(ExitStatus::Usage, "camera '" + name + "'", "the scene has none of that name",
                  "its cameras: " + listed(names));
  }
  return document.cameras()[*index];
}

}  // namespace quillmere::app
