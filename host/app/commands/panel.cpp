#include <CLI/CLI.hpp>
#include <memory>

#include "base/json.h"
#include "commands.h"
#include "effect/effect_session.h"
#include "effect/node_setup.h"
#include "effect_options.h"
#include "panel_table.h"
#include "report/output.h"
#include "scene_options.h"
#include "session_options.h"

namespace quillmere::app {
namespace {

struct Options {
  std::string scene, camera;
  EffectOptions effect;
  SessionOptions session;
  bool json = false;
};

std::unique_ptr<EffectSession> sessionFor(const Options& options, host::Events& events) {
  const std::filesystem::path writeDirectory = writeDirectoryOf(options.session);
  PluginFolder plugin = pluginFolder(options.session.plugin);
  if (options.scene.empty()) return std::make_unique<EffectSession>(writeDirectory, std::move(plugin), events);
  return std::make_unique<EffectSession>(writeDirectory, std::move(plugin), options.scene, events);
}

ExitStatus run(const Options& options) {
  host::Events nobody;
  const auto session = sessionFor(options, nobody);
  printWarnings(session->document().warnings());
  setUpNode(session->node(), session->document(), options.effect, options.camera);
  const auto rows = panelRows(session->node(), session->document());
  printResult(options.json ? lineOf(panelJson(rows)) : panelTable(rows));
  return ExitStatus::Done;
}

}  // namespace

Action addPanel(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  addSceneFile(command, options->scene);
  command.get_option("SCENE")->required(false);
  command.add_flag("--json", options->json, "Print a JSON array of objects instead of a table");
  command.add_option("--camera", options->camera, "The camera of the scene to choose")->type_name("NAME");
  addEffectOptions(command, options->effect);
  addSessionOptions(command, options->session);
  command.footer(
      "* marks the chosen one. Nothing is rendered or kept.\n"
      "Examples:\n"
      "  quillmere panel harbour.glb\n"
      "  quillmere panel harbour.glb --settings dawn.json --set QUILLMERE_GUIDE_MODE=\"Final Render\" --json");
  return [options] { return run(*options); };
}

}  // namespace quillmere::app
