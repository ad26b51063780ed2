#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "base/json.h"
#include "base/utf8.h"
#include "commands.h"
#include "doctor/checks.h"
#include "doctor/module_declaration.h"
#include "options.h"
#include "process/process_tree.h"
#include "report/output.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using State = Finding::State;

struct Options {
  SessionOptions session;
  bool json = false;
  bool module = false;
  IntendedRender render;
};

const char* wordFor(State state) {
  return state == State::Ok ? "ok" : state == State::Note ? "note" : "broken";
}

std::string row(const Finding& finding) {
  std::string mark = wordFor(finding.state);
  mark.resize(8, ' ');
  std::string text = mark + printable(finding.subject) + ": " + printable(finding.detail) + "\n";
  if (!finding.remedy.empty()) text += "        " + printable(finding.remedy) + "\n";
  return text;
}

Json entry(const Finding& finding) {
  return {{"check", finding.subject},
          {"state", wordFor(finding.state)},
          {"detail", finding.detail},
          {"remedy", finding.remedy}};
}

ExitStatus printModule(const Options& options) {
  const Json declaration = moduleDeclaration(pluginFolder(options.session.plugin));
  printResult(options.json ? lineOf(declaration) : linesOf(declaration));
  return ExitStatus::Done;
}

ExitStatus run(const Options& options) {
  if (options.module) return printModule(options);
  adoptOrphans();
  const PluginFolder plugin = pluginFolder(options.session.plugin);
  const fs::path writeDirectory = writeDirectoryOf(options.session);
  const bool one = !options.render.workflow.empty() || !options.render.scene.empty();
  const auto findings = one ? examineFor(options.render, plugin, writeDirectory) : examine(plugin, writeDirectory);
  std::string rows;
  Json entries = Json::array();
  for (const Finding& finding : findings) {
    rows += row(finding);
    entries.push_back(entry(finding));
  }
  printResult(options.json ? lineOf(entries) : rows);
  const bool broken = std::any_of(findings.begin(), findings.end(),
                                  [](const Finding& finding) { return finding.state == State::Broken; });
  return broken ? ExitStatus::Failed : ExitStatus::Done;
}

}  // namespace

Action addDoctor(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  command
      .add_option("--workflow", options->render.workflow,
                  "Check only what a render with this workflow needs: its name or ID in the catalog,\n"
                  "or its file")
      ->type_name("NAME|ID|FILE");
  command.add_option("--scene", options->render.scene, "Check only what a render of this scene needs")
      ->type_name("SCENE")
      ->check(CLI::ExistingFile);
  command.add_flag("--json", options->json, "Print JSON instead of lines");
  command.add_flag("--module", options->module, "Print what the module declares to the host, and check nothing");
  addSessionOptions(command, options->session);
  command.footer(
      "Examples:\n  quillmere doctor\n  quillmere doctor --scene harbour.glb --workflow \"FLUX.2 Dev\"\n"
      "\nExit status 1 when something is broken: of the one render that is asked about, or of any.");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
