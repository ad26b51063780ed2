#include "studio_command.h"

#include <chrono>
#include <memory>
#include <thread>

#include "commands/options.h"
#include "effect/effect_session.h"
#include "own_command.h"
#include "process/child_run.h"
#include "process/user_break.h"
#include "report/output.h"
#include "server.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

struct Options {
  app::SessionOptions session;
  std::vector<std::string> folders;
  int port = 0;
  bool open = false;
};

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

app::ExitStatus run(const Options& options) {
  const app::UserBreak userBreak([] {});
  std::vector<fs::path> folders;
  for (const std::string& folder : options.folders) folders.emplace_back(folder);
  Watch watch(app::writeDirectoryOf(options.session), folders);
  ExampleRender example(watch, options.session);
  Studio studio{watch, options.session, example};
  const Server server(studio, pageFolder(), options.port);
  app::printResult(server.address() + "\n");
  if (options.open) openBrowser(server.address());
  while (!userBreak.seen()) std::this_thread::sleep_for(kPause);
  endCommands();
  watch.hub().tell("end", Json::object());
  return app::ExitStatus::Done;
}

}  // namespace

app::Action addStudio(CLI::App& command) {
  const auto options = std::make_shared<Options>();
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
  app::addSessionOptions(command, options->session);
  command.footer(
      "The address that is printed opens the page, on this machine alone and until the program ends (Ctrl-C).\n"
      "Examples:\n"
      "  quillmere studio --open\n"
      "  quillmere studio --write-dir ~/second-render");
  return [options] { return run(*options); };
}

}  // namespace quillmere::studio
