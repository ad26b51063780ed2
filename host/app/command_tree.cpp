#include "command_tree.h"

#include <algorithm>
#include <memory>
#include <string>

namespace quillmere::app {
namespace {

// Help without what the parser adds for its own sake: the checks of a value behind its type, and "{false}" behind a
// flag that switches something off.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(34); }

  std::string make_option_name(const CLI::Option* option, bool positional) const override {
    return without("{false}", CLI::Formatter::make_option_name(option, positional));
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_type_name().empty()) return CLI::Formatter::make_option_opts(option);
    const std::string type = " " + option->get_type_name();  // " TYPE:CHECK", " TYPE" or " :CHECK"
    const std::size_t colon = std::min(type.find(':'), type.size());
    return without(type.substr(colon == 1 ? 0 : colon), CLI::Formatter::make_option_opts(option));
  }

 private:
  static std::string without(const std::string& part, std::string text) {
    const std::size_t found = text.find(part);
    return found == std::string::npos ? text : text.erase(found, part.size());
  }
};

}  // namespace

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
  root_.formatter(std::make_shared<HelpFormatter>());  // the sub-commands' too
  for (const Command& command : commands()) {
    CLI::App* added = root_.add_subcommand(command.name, command.summary);
    actions_.emplace_back(added, command.add(*added));
  }
}

}  // namespace quillmere::app
