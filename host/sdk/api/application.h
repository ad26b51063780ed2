#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "base/error.h"
#include "c4d.h"
#include "image/image.h"

// The doors through which a program drives the stand-alone host. Modules see only the host's API in ../include.
namespace quillmere::host {

// What the host is told while it works, in the order in which it is told. Called on the thread that renders.
class QM_HOST_API Events {
 public:
  virtual ~Events() = default;
  virtual void statusText(const std::string& /*utf8*/) {}
  virtual void statusSpin(bool /*on*/) {}
  virtual void statusBar(double /*fraction, 0 to 1*/) {}
  virtual void console(const std::string& /*utf8 line*/) {}
  virtual void command(int /*id*/, int /*subid*/) {}
  virtual void pictureViewer(const image::Image& /*shown*/) {}
};

// The application side of the process: plug-in registry, modules, write directory. One may exist at a time; the host
// API's free functions act on it, and without one they answer as an application without plug-ins would.
class QM_HOST_API Application {
 public:
  // `writeDirectory` is what GeGetStartupWritePath returns; it is made when something is first written.
  // `events` must outlive the application. `language` chooses the texts of modules; what a module doesn't have in it is
  // shown in en-US. Throws Error for a second application, and for a language that isn't written like "en-US".
  Application(const std::filesystem::path& writeDirectory, Events& events, std::string language = "en-US");
  ~Application();  // ends and closes the modules; every document must be gone
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  // Opens the one module that lies in `folder` beside its res/ (*.xso64, on macOS *.xlib), then as an application does:
  // init-sys, message 0, message 1, start. Throws Error, with the module closed again and nothing of it registered.
  void loadPlugin(const std::filesystem::path& folder);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

// The data folder of the user who runs this: $XDG_DATA_HOME or ~/.local/share, on macOS ~/Library/Application Support.
// Throws Error when there is no home to put it in.
QM_HOST_API std::filesystem::path userDataDirectory();

}  // namespace quillmere::host
