#include "workflow_catalog.h"

#include <algorithm>
#include <optional>

#include "base/file_reading.h"
#include "files/manager_folder.h"
#include "sdk/core/text.h"
#include "state_entries.h"
#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestState = 64U << 20U;  // bytes

// Puts back what the node stores about its workflow.
class KeptChoice {
 public:
  explicit KeptChoice(NodeParameters& node)
      : node_(node),
        number_(node.storedData(QUILLMERE_WORKFLOW)),
        id_(node.storedData(QUILLMERE_WORKFLOW_ID)),
        path_(node.storedData(QUILLMERE_WORKFLOW_PATH)) {}
  ~KeptChoice() {
    node_.store(QUILLMERE_WORKFLOW, number_);
    node_.store(QUILLMERE_WORKFLOW_ID, id_);
    node_.store(QUILLMERE_WORKFLOW_PATH, path_);
  }
  KeptChoice(const KeptChoice&) = delete;
  KeptChoice& operator=(const KeptChoice&) = delete;

 private:
  NodeParameters& node_;
  cinema::GeData number_, id_, path_;
};

// What the effect itself takes the choice for. It reads the whole catalog for an answer.
Workflow asked(NodeParameters& node, const Parameter::Choice& choice) {
  node.set(node.find(QUILLMERE_WORKFLOW), choice.value);
  return {choice.value, node.text(QUILLMERE_WORKFLOW_ID), choice.text, node.text(QUILLMERE_WORKFLOW_PATH)};
}

fs::path definitionIn(const fs::path& folder, const std::string& id) {
  return folder / (id + ".json");
}

std::optional<std::vector<StateEntry>> entriesIn(const fs::path& stateFile) {
  try {
    return stateEntries(readText(stateFile, kLargestState));
  } catch (const Error&) {
    return {};
  }
}

// Whether the file's entries are the menu's choices, one for one.
bool agree(const std::vector<StateEntry>& entries, const std::vector<Parameter::Choice>& choices) {
  return std::equal(entries.begin(), entries.end(), choices.begin(), choices.end(),
                    [](const StateEntry& entry, const auto& choice) { return entry.name == choice.text; });
}

// The choices with the identifiers of the workflow manager's state file; none where it is in doubt whether
// the effect has read that file, and in that way. Definitions lie in one folder, each under its identifier; of one with
// a slash only the effect can make a path.
std::optional<std::vector<Workflow>> readBesides(NodeParameters& node, const std::vector<Parameter::Choice>& choices) {
  const Workflow first = asked(node, choices.front());
  const fs::path folder = first.file.parent_path();
  if (first.file != definitionIn(folder, first.id)) return {};
  const auto entries = entriesIn(ManagerFolder().stateInUse());
  if (!entries || !agree(*entries, choices) || entries->front().id != first.id) return {};
  std::vector<Workflow> catalog;
  catalog.reserve(choices.size());
  for (std::size_t index = 0; index < choices.size(); ++index) {
    const auto& [id, name] = (*entries)[index];
    if (id.find('/') != std::string::npos) {
      catalog.push_back(asked(node, choices[index]));
    } else {
      catalog.push_back({choices[index].value, id, name, definitionIn(folder, id)});
    }
  }
  return catalog;
}

std::vector<std::string> each(const std::vector<Workflow>& catalog, std::string Workflow::*field) {
  std::vector<std::string> texts;
  texts.reserve(catalog.size());
  for (const Workflow& workflow : catalog) texts.push_back(workflow.*field);
  return texts;
}

[[noreturn]] void refuse(const std::string& wanted, const std::vector<Workflow>& catalog) {
  std::string there;
  for (const Workflow& workflow : catalog) there += "\n    " + workflow.name + " (" + workflow.id + ")";
  const auto names = each(catalog, &Workflow::name);
  const bool ambiguous = std::count(names.begin(), names.end(), wanted) > 1;
  throw Failure(ExitStatus::Usage, "workflow '" + wanted + "'",
                ambiguous ? "the catalog has several of that name" : "neither in the catalog nor a file",
                there.empty() ? "the catalog is empty; give the file of a workflow"
                              : std::string(ambiguous ? "choose by ID:" : "the catalog's workflows:") + there);
}

// An ID goes before a name, "None" chooses nothing. No number when the catalog has none of them; throws Failure when it
// has several of that name.
std::optional<int> numberOf(const std::string& wanted, const std::vector<Workflow>& catalog) {
  if (const auto byId = indexOfName(each(catalog, &Workflow::id), wanted)) return catalog[*byId].number;
  const auto names = each(catalog, &Workflow::name);
  if (std::count(names.begin(), names.end(), wanted) > 1) refuse(wanted, catalog);
  if (const auto byName = indexOfName(names, wanted)) return catalog[*byName].number;
  return wanted == "None" ? std::optional(0) : std::nullopt;
}

void storeFile(NodeParameters& node, const fs::path& file) {
  storeWorkflow(node, 0, {}, fs::absolute(file).lexically_normal().string());
}

}  // namespace

std::vector<Workflow> catalogOf(NodeParameters& node) {
  const KeptChoice kept(node);
  std::vector<Parameter::Choice> choices = node.find(QUILLMERE_WORKFLOW).choices;
  std::erase_if(choices, [](const Parameter::Choice& choice) { return choice.value == 0; });  // "None"
  if (choices.empty()) return {};
  if (auto catalog = readBesides(node, choices)) return *std::move(catalog);
  std::vector<Workflow> catalog;
  catalog.reserve(choices.size());
  for (const Parameter::Choice& choice : choices) catalog.push_back(asked(node, choice));
  return catalog;
}

void chooseWorkflow(NodeParameters& node, const std::string& wanted) {
  const std::vector<Workflow> catalog = catalogOf(node);
  if (const auto number = numberOf(wanted, catalog)) return node.set(node.find(QUILLMERE_WORKFLOW), *number);
  std::error_code error;
  if (!fs::is_regular_file(wanted, error)) refuse(wanted, catalog);
  storeFile(node, wanted);
}

void storeWorkflow(NodeParameters& node, int number, const std::string& id, const std::string& file) {
  node.store(QUILLMERE_WORKFLOW, cinema::GeData(number));
  node.store(QUILLMERE_WORKFLOW_ID, cinema::GeData(host::fromUtf8(id)));
  node.store(QUILLMERE_WORKFLOW_PATH, cinema::GeData(host::fromUtf8(file)));
}

Preferred preferWorkflow(NodeParameters& node, const PluginFolder& plugin) {
  if (!node.text(QUILLMERE_WORKFLOW_PATH).empty()) return Preferred::Kept;
  const fs::path example = plugin.exampleWorkflow();
  std::error_code error;
  if (!fs::is_regular_file(example, error)) {
    throw Failure(ExitStatus::Failed, "workflow",
                  "the catalog is empty and the example '" + example.string() + "' is missing",
                  "give a file with --workflow, or put the plug-in's python folder back");
  }
  storeFile(node, example);
  return Preferred::ReplacedByExample;
}

}  // namespace quillmere::app
