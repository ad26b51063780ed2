#include "commands.h"

#include <array>

namespace quillmere::app {
namespace {

constexpr std::array kCommands{
    Command{"render", "Render frames of a scene through the effect", addRender},
    Command{"guide", "Write the guide image alone, as the effect would capture it", addGuide},
    Command{"panel", "Show the effect's attribute panel: values, choices, limits", addPanel},
    Command{"cameras", "List the cameras of a scene", addCameras},
    Command{"workflows", "List the workflows of the catalog, and change the list", addWorkflows},
    Command{"show", "Show what made a picture: prompt, workflow, seed, scene, camera", addShow},
    Command{"doctor", "Check what a render needs, and say what to do about what is missing", addDoctor},
    Command{"completion", "Print a script that completes this command in a shell", addCompletion},
};

}  // namespace

std::span<const Command> commands() {
  return kCommands;
}

}  // namespace quillmere::app
