#include "command_tree.h"

namespace quillmere::app {

CommandTree::CommandTree()
    : root_("Renders 3D scenes as generated pictures: a stand-alone host for the Quillmere Renderer effect.",
            "quillmere") {
  root_.set_version_flag("--version", "quillmere " QUILLMERE_VERSION, "Print the version and exit");
  root_.require_subcommand(1);
  root_.footer(
      "Examples:\n"
      "  quillmere render harbour.glb --frames 1-48x4 --prompt \"a misty harbour at dawn\"\n"
      "  quillmere guide harbour.glb -o guide.png --camera Quayside\n"
      "  quillmere doctor\n"
      "\nExit status: 0 done, 1 failed, 2 wrong use, 130 stopped by the user.");
  root_.get_formatter()->column_width(34);
  for (const Command& command : commands()) {
    CLI::App* added = root_.add_subcommand(command.name, command.summary);
    added->get_formatter()->column_width(34);
    actions_.emplace_back(added, command.add(*added));
  }
}

}  // namespace quillmere::app
