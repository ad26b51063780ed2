#include "workflow_choice.h"

#include <algorithm>
#include <optional>

#include "parameter_ids.h"
#include "values/failure.h"
#include "values/named_choice.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// Puts back what the node stores about its workflow.
class KeptChoice {
 public:
  explicit KeptChoice(NodeParameters& node)
      : node_(node),
        number_(node.stored()[std::to_string(QUILLMERE_WORKFLOW)]),
        id_(node.text(QUILLMERE_WORKFLOW_ID)),
        path_(node.text(QUILLMERE_WORKFLOW_PATH)) {}
  ~KeptChoice() {
    node_.store(QUILLMERE_WORKFLOW, number_.is_number() ? number_.get<int>() : 0);
    node_.store(QUILLMERE_WORKFLOW_ID, id_);
    node_.store(QUILLMERE_WORKFLOW_PATH, path_);
  }
  KeptChoice(const KeptChoice&) = delete;
  KeptChoice& operator=(const KeptChoice&) = delete;

 private:
  NodeParameters& node_;
  nlohmann::ordered_json number_;
  std::string id_, path_;
};

void storeFile(NodeParameters& node, const fs::path& file) {
  node.store(QUILLMERE_WORKFLOW, 0);
  node.store(QUILLMERE_WORKFLOW_ID, std::string());
  node.store(QUILLMERE_WORKFLOW_PATH, fs::absolute(file).lexically_normal().string());
}

void pick(NodeParameters& node, int number) {
  node.set(node.find(std::to_string(QUILLMERE_WORKFLOW)), std::to_string(number));
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

}  // namespace

std::vector<Workflow> catalogOf(NodeParameters& node) {
  const KeptChoice kept(node);
  std::vector<Workflow> catalog;
  for (const Parameter::Choice& choice : node.find(std::to_string(QUILLMERE_WORKFLOW)).choices) {
    if (choice.value == 0) continue;
    pick(node, choice.value);
    catalog.push_back(
        {choice.value, node.text(QUILLMERE_WORKFLOW_ID), choice.text, node.text(QUILLMERE_WORKFLOW_PATH)});
  }
  return catalog;
}

void chooseWorkflow(NodeParameters& node, const std::string& wanted) {
  const std::vector<Workflow> catalog = catalogOf(node);
  if (const auto number = numberOf(wanted, catalog)) return pick(node, *number);
  std::error_code error;
  if (!fs::is_regular_file(wanted, error)) refuse(wanted, catalog);
  storeFile(node, wanted);
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
