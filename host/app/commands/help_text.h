#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace quillmere::app {

// How help lists an option: its names with what they take, and what they mean. Also what the manual says.
std::string optionSyntax(const CLI::Option& option);
std::string optionMeaning(const CLI::Option& option);

// Help with its examples first, and without what the parser adds for its own sake: the checks of a value behind its
// type, "{false}" behind a flag that switches something off, and options that exclude each other within the syntax.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter();

  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
  std::string make_option_name(const CLI::Option* option, bool positional) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;
  // The headings of the command's options in the order in which they are listed.
  virtual std::vector<std::string> headings(const CLI::App& app) const { return app.get_groups(); }
};

}  // namespace quillmere::app
