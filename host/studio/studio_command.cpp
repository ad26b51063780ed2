#include "studio_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "commands/render_options.h"
#include "desk.h"
#include "effect/effect_session.h"
#include "files/exchange_files.h"
#include "own_command.h"
#include "process/child_run.h"
#include "process/user_break.h"
#include "report/output.h"
#include "request.h"
#include "server.h"
#include "steering_answers.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

struct Options {
  app::RenderOptions render;  // what is rendered, as far as it is given
  std::vector<std::string> folders;
  int port = 0;
  bool open = false;
};

// Of render's options those that a page has no use for.
constexpr std::array kOfRenderAlone{"--quiet", "--report", "--save-settings", "--save-job", "--dry-run", "--worker"};
// Those that a job doesn't hold: each render is told them.
const std::vector<std::string> kAlways{"resume", "jobs", "retries", "keep-going", "stop-at-first-failure", "log"};
// Those that are no render's, or that it is told anyway.
const std::vector<std::string> kOwn{"port", "open", "pictures", "write-dir", "plugin", "json"};
constexpr int kLargestPort = 65535;
constexpr std::chrono::seconds kBrowserPatience{10};
constexpr std::chrono::milliseconds kPause{100};

// In the build tree and where it is installed, beside the program.
fs::path pageFolder() {
  return (app::programFolder() / "../share/quillmere/studio").lexically_normal();
}

void openBrowser(const std::string& address) {
  const app::ChildResult result = app::runChild({"xdg-open", address}, {kBrowserPatience});
  if (result.end == app::ChildResult::End::Exited && result.status == 0) return;
  app::printError("no browser could be opened (xdg-open); open the address yourself");
}

std::vector<std::string> joined(std::vector<std::string> names, const std::vector<std::string>& others) {
  names.insert(names.end(), others.begin(), others.end());
  return names;
}

// What was given of kAlways.
std::vector<std::string> alwaysGiven(const CLI::App& command) {
  std::vector<std::string> others;
  for (const CLI::Option* option : command.get_options()) {
    const auto& names = option->get_lnames();
    if (!names.empty() && std::ranges::find(kAlways, names.front()) == kAlways.end()) others.push_back(names.front());
  }
  std::vector<std::string> words = app::argumentsOf(command, others);
  std::erase_if(words, [](const std::string& word) { return !word.starts_with("--"); });
  return words;
}

bool isSteered(const Options& options, const CLI::App& command) {
  if (!options.render.scene.scene.empty() || !options.render.like.empty()) return true;
  if (app::argumentsOf(command, kOwn).size() < 2) return false;
  throw app::Failure(app::ExitStatus::Usage, "studio", "there is no scene for the options of a render",
                     "give one: quillmere studio SCENE");
}

void tellAddress(const std::string& address, bool json) {
  app::printResult(json ? lineOf({{"event", "studio"}, {"address", address}}) : address + "\n");
}

// The job that the page begins with.
void begin(Studio& studio, const CLI::App& command) {
  std::vector<std::string> words = app::argumentsOf(command, joined(kAlways, kOwn));
  words.front() = "render";
  try {
    settledJob(studio, std::move(words));
  } catch (const Refused& refusal) {
    throw app::Failure(app::ExitStatus::Failed, "studio", refusal.what());
  }
}

app::ExitStatus run(const Options& options, const CLI::App& command) {
  const app::UserBreak userBreak([] {});
  std::vector<fs::path> folders;
  for (const std::string& folder : options.folders) folders.emplace_back(folder);
  Watch watch(app::writeDirectoryOf(options.render.session), folders);
  std::function<void(const std::string&)> echo;
  if (options.render.json) echo = [](const std::string& line) { app::Output(STDOUT_FILENO).write(line + "\n"); };
  Desk desk(watch.hub(), echo);
  DeskGuides guides(app::exchangeFolder(watch.writeDirectory()) / "studio" / "guides", watch.shelf());
  Steering steering{desk, guides, alwaysGiven(command)};
  const bool steered = isSteered(options, command);
  ExampleRender example(watch, options.render.session);
  Studio studio{watch, options.render.session, example, steered ? &steering : nullptr};
  if (steered) begin(studio, command);
  const Server server(studio, pageFolder(), options.port);
  tellAddress(server.address(), options.render.json);
  if (options.open) openBrowser(server.address());
  while (!userBreak.seen()) std::this_thread::sleep_for(kPause);
  endCommands();
  desk.finish();
  watch.hub().tell("end", Json::object());
  return app::ExitStatus::Done;
}

}  // namespace

app::Action addStudio(CLI::App& command) {
  const auto options = std::make_shared<Options>();
  app::addRenderOptions(command, options->render);
  for (const char* name : kOfRenderAlone) {
    if (CLI::Option* option = command.get_option_no_throw(name)) command.remove_option(option);
  }
  command.get_option("SCENE")->description("The scene to render: a glTF 2.0 file, or a job of --save-job");
  command.add_option("--port", options->port, "Where the page is on this machine; 0 is any that is free")
      ->check(CLI::Range(0, kLargestPort))
      ->capture_default_str()
      ->type_name("NUMBER");
  command.add_flag("--open", options->open, "Open the page in the browser");
  command
      .add_option("--pictures", options->folders,
                  "A folder besides the write directory whose pictures the page may show, whatever has made them;\n"
                  "may be given several times")
      ->type_name("DIR")
      ->allow_extra_args(false);
  command.footer(
      "The address that is printed opens the page, on this machine alone and until the program ends (Ctrl-C).\n"
      "With a scene the page renders, too; it begins with what the options of render say.\n"
      "Examples:\n"
      "  quillmere studio --open\n"
      "  quillmere studio harbour.glb --camera Quayside --frames 1-24 --open\n"
      "  quillmere studio --write-dir ~/second-render");
  return [options, &command] { return run(*options, command); };
}

}  // namespace quillmere::studio
