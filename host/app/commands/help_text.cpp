#include "help_text.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace quillmere::app {
namespace {

constexpr std::size_t kNameColumn = 34;    // characters before the meaning of an option
constexpr std::size_t kMeaningWidth = 66;  // of its lines

std::string without(const std::string& part, std::string text) {
  const std::size_t found = text.find(part);
  return found == std::string::npos ? text : text.erase(found, part.size());
}

// What the option takes and what it is without it, each behind what comes before.
std::string valueSyntax(const CLI::Option& option) {
  std::string syntax;
  const std::string type = option.get_type_name();  // "TYPE:CHECK", "TYPE", ":CHECK" or nothing
  const std::string kind = type.substr(0, type.find(':'));
  if (!kind.empty()) syntax += " " + kind;
  if (option.get_items_expected_max() > 0 && !option.get_default_str().empty())
    syntax += "=" + option.get_default_str();
  if (option.get_items_expected_max() > 1 && !option.get_positional()) syntax += " ...";
  return syntax;
}

// Groups begin with an empty line each, whether the one before ends in one or not.
std::string withoutDoubleGaps(std::string text) {
  for (std::size_t at = 0; (at = text.find("\n\n\n", at)) != std::string::npos;) text.erase(at, 1);
  return text;
}

// In lines of their own width, wherever they were broken before.
std::string wrapped(const std::string& text) {
  std::istringstream words(text);
  std::string lines, line, word;
  while (words >> word) {
    if (!line.empty() && line.size() + 1 + word.size() > kMeaningWidth) {
      lines += line + "\n";
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
  }
  return lines + line;
}

}  // namespace

std::string optionSyntax(const CLI::Option& option) {
  return without("{false}", option.get_name(option.get_positional(), true)) + valueSyntax(option);
}

std::string optionMeaning(const CLI::Option& option) {
  std::string others;
  for (const CLI::Option* other : option.get_excludes()) {
    others += (others.empty() ? "" : ", ") + other->get_name();
  }
  return option.get_description() + (others.empty() ? "" : "; not with " + others);
}

HelpFormatter::HelpFormatter() {
  column_width(kNameColumn);
}

std::string HelpFormatter::make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const {
  if (mode == CLI::AppFormatMode::Sub) return CLI::Formatter::make_help(app, std::move(name), mode);
  std::string options;
  for (const std::string& heading : headings(*app)) {
    const auto listed = app->get_options([&heading](const CLI::Option* option) {
      return option->nonpositional() && !heading.empty() && option->get_group() == heading;
    });
    if (!listed.empty()) options += "\n" + make_group(heading, false, listed);
  }
  return withoutDoubleGaps(make_description(app) + make_usage(app, std::move(name)) + "\n" + make_footer(app) +
                           make_positionals(app) + options + make_subcommands(app, mode));
}

std::string HelpFormatter::make_option_name(const CLI::Option* option, bool positional) const {
  return without("{false}", CLI::Formatter::make_option_name(option, positional));
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  return valueSyntax(*option);
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
  return wrapped(optionMeaning(*option));
}

}  // namespace quillmere::app
