#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/json.h"
#include "base/utf8.h"
#include "catalog/addition.h"
#include "catalog/state_file.h"
#include "commands.h"
#include "effect/effect_session.h"
#include "effect/workflow_catalog.h"
#include "options.h"
#include "report/output.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// A sub-command of `workflows`, and what it does to the list before that is printed. Throws what main prints.
using WorkflowEdit = std::pair<CLI::App*, std::function<void()>>;

constexpr const char* kWanted = "Identifier, name or number of a workflow, as listed";

[[noreturn]] void refuse(const std::string& wanted, const std::string& why, const std::string& remedy) {
  throw Failure(ExitStatus::Usage, "workflow '" + wanted + "'", why, remedy);
}

// A place in a list of so many, counted from 1; none when `text` is no such number.
std::optional<std::size_t> placeIn(const std::string& text, std::size_t count) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > count) return {};
  return number - 1;
}

// An identifier goes before a name, and that before a number.
std::size_t indexOf(const std::string& wanted, const std::vector<EntrySpan>& entries) {
  std::vector<std::string> ids, names;
  for (const EntrySpan& entry : entries) {
    ids.push_back(entry.id);
    names.push_back(entry.name);
  }
  for (const auto& texts : {ids, names}) {
    if (std::count(texts.begin(), texts.end(), wanted) > 1) {
      refuse(wanted, "several have this name or identifier", "choose by number: quillmere workflows list");
    }
    if (const auto found = indexOfName(texts, wanted)) return *found;
  }
  if (const auto place = placeIn(wanted, entries.size())) return *place;
  refuse(wanted, "there is none of this name or identifier", "the names: " + listed(names));
}

void rename(const std::string& wanted, const std::string& name, const PluginFolder& plugin) {
  requireName(name);
  const StateFile state(plugin);
  const std::size_t index = indexOf(wanted, state.present().entries());
  std::vector<StateEntry> expected = state.present().listed();
  expected[index].name = name;
  state.replace(state.present().withName(index, name), expected);
}

void remove(const std::string& wanted, const PluginFolder& plugin) {
  const StateFile state(plugin);
  const std::size_t index = indexOf(wanted, state.present().entries());
  std::vector<StateEntry> expected = state.present().listed();
  const std::string id = expected[index].id;
  expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(index));
  state.replace(state.present().without(index), expected);
  const fs::path file = state.manager().workflow(id);
  std::error_code error;
  if (fs::exists(file, error)) printError("its file stays: '" + file.string() + "'");
}

void move(const std::string& wanted, const std::string& place, const PluginFolder& plugin) {
  const StateFile state(plugin);
  std::vector<StateEntry> expected = state.present().listed();
  const std::size_t from = indexOf(wanted, state.present().entries());
  const auto to = placeIn(place, expected.size());
  if (!to)
    refuse(wanted, "it can't be moved to '" + place + "'", "give a place from 1 to " + std::to_string(expected.size()));
  const StateEntry moved = expected[from];
  expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(from));
  expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(*to), moved);
  state.replace(state.present().withMoved(from, *to), expected);
}

std::string stemOf(const std::string& file) {
  return fs::path(file).stem().string();
}

WorkflowEdit addAdd(CLI::App& workflows, const SessionOptions& session) {
  struct Given {
    std::string file;
    std::optional<std::string> name, id;
    bool unchecked = false;
  };
  const auto given = std::make_shared<Given>();
  CLI::App* command = workflows.add_subcommand("add", "Copy a workflow file into the list");
  command->add_option("FILE", given->file, "Workflow file")->required()->type_name("");
  command->add_option("--name", given->name, "Name in the menu (default: that of the file)")->type_name("NAME");
  command->add_option("--id", given->id, "Identifier, and name of the copy (default: made from the file's name)")
      ->type_name("ID");
  command->add_flag("--no-check", given->unchecked, "Don't have the helper check the file");
  command->footer("Example:\n  quillmere workflows add ink_wash.json --name \"Ink and Wash\"");
  return {command, [given, &session] {
            const std::string stem = stemOf(given->file);
            addWorkflow({given->file,
                         {given->id.value_or(idFrom(stem)), given->name.value_or(stem)},
                         given->unchecked ? Addition::Check::Skipped : Addition::Check::Asked},
                        pluginFolder(session.plugin));
          }};
}

WorkflowEdit addRename(CLI::App& workflows, const SessionOptions& session) {
  const auto wanted = std::make_shared<std::string>(), name = std::make_shared<std::string>();
  CLI::App* command = workflows.add_subcommand("rename", "Give a workflow of the list another name");
  command->add_option("WORKFLOW", *wanted, kWanted)->required()->type_name("");
  command->add_option("NAME", *name, "Its new name; the identifier stays")->required()->type_name("");
  command->footer("Example:\n  quillmere workflows rename ink_wash \"Ink and Wash\"");
  return {command, [wanted, name, &session] { rename(*wanted, *name, pluginFolder(session.plugin)); }};
}

WorkflowEdit addRemove(CLI::App& workflows, const SessionOptions& session) {
  const auto wanted = std::make_shared<std::string>();
  CLI::App* command = workflows.add_subcommand("remove", "Take a workflow from the list; its file stays");
  command->add_option("WORKFLOW", *wanted, kWanted)->required()->type_name("");
  command->footer("Example:\n  quillmere workflows remove \"Ink and Wash\"");
  return {command, [wanted, &session] { remove(*wanted, pluginFolder(session.plugin)); }};
}

WorkflowEdit addMove(CLI::App& workflows, const SessionOptions& session) {
  const auto wanted = std::make_shared<std::string>(), place = std::make_shared<std::string>();
  CLI::App* command = workflows.add_subcommand("move", "Move a workflow to another place of the list");
  command->add_option("WORKFLOW", *wanted, kWanted)->required()->type_name("");
  command->add_option("PLACE", *place, "Its new number, from 1")->required()->type_name("");
  command->footer("Example:\n  quillmere workflows move \"Ink and Wash\" 1");
  return {command, [wanted, place, &session] { move(*wanted, *place, pluginFolder(session.plugin)); }};
}

// Adds those that change the list. `session` must outlive what is returned.
std::vector<WorkflowEdit> addWorkflowEdits(CLI::App& workflows, const SessionOptions& session) {
  return {addAdd(workflows, session), addRename(workflows, session), addRemove(workflows, session),
          addMove(workflows, session)};
}

struct Options {
  SessionOptions session;
  bool json = false;
};

enum class Listing { Lines, Json };

bool isThere(const Workflow& workflow) {
  std::error_code error;
  return fs::is_regular_file(workflow.file, error);
}

std::string row(const Workflow& workflow, int preferred) {
  return std::string(workflow.number == preferred ? "* " : "  ") + std::to_string(workflow.number) + "\t" +
         printable(workflow.name) + "\t" + printable(workflow.id) + "\t" + printable(workflow.file.string()) +
         (isThere(workflow) ? "" : "\t(missing)") + "\n";
}

Json entry(const Workflow& workflow, int preferred) {
  return {{"number", workflow.number},      {"id", workflow.id},           {"name", workflow.name},
          {"path", workflow.file.string()}, {"exists", isThere(workflow)}, {"preferred", workflow.number == preferred}};
}

std::string listingOf(NodeParameters& node, Listing listing) {
  const int preferred = node.number(QUILLMERE_WORKFLOW);  // a new node has chosen it
  std::string rows;
  Json entries = Json::array();
  for (const Workflow& workflow : catalogOf(node)) {
    rows += row(workflow, preferred);
    entries.push_back(entry(workflow, preferred));
  }
  return listing == Listing::Json ? lineOf(entries) : rows;
}

ExitStatus run(const Options& options) {
  host::Events nobody;
  EffectSession session(writeDirectoryOf(options.session), pluginFolder(options.session.plugin), nobody);
  const std::string text = listingOf(session.node(), options.json ? Listing::Json : Listing::Lines);
  if (text.empty()) {
    Output(STDERR_FILENO)
        .write("The catalog is empty; render uses the example workflow " +
               printable(session.plugin().exampleWorkflow().string()) + "\n");
  }
  printResult(text);
  return ExitStatus::Done;
}

}  // namespace

Action addWorkflows(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  const auto json = [options](CLI::App& listing) {
    listing.add_flag("--json", options->json, "Print a JSON array of objects instead of lines");
  };
  json(command);
  addSessionOptions(command, options->session);
  command.require_subcommand(0, 1);
  CLI::App* list = command.add_subcommand("list", "List the workflows, as without a sub-command");
  json(*list);
  addSessionOptions(*list, options->session);
  const std::vector<WorkflowEdit> edits = addWorkflowEdits(command, options->session);
  for (const auto& [edit, change] : edits) {
    json(*edit);
    addPluginOption(*edit, options->session);
  }
  command.footer(
      "The one marked with * is used when render is given none. What changes the list prints it afterwards.\n"
      "Examples:\n"
      "  quillmere workflows --json\n"
      "  quillmere workflows add ink_wash.json --name \"Ink and Wash\"");
  return [options, edits] {
    for (const auto& [edit, change] : edits) {
      if (edit->parsed()) change();
    }
    return run(*options);
  };
}

}  // namespace quillmere::app
