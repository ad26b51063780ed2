#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "api/document.h"
#include "api/frame.h"
#include "bridge/text.h"
#include "core/substitutes.h"
#include "core/text.h"
#include "description/vpquillmere.h"
#include "temporary_folder.h"

namespace quillmere {

using Lines = std::vector<std::string>;

void copyModuleTo(const std::filesystem::path& plugin);  // which is made if need be
inline bool noBreak() {
  return false;
}

// Everything that the host was told, a line each, and between the lines which files and folders had come up below the
// watched folder meanwhile, if one is.
struct HostLog : host::Events {
  void statusText(const std::string& text) override { add("text " + text); }
  void statusSpin(bool on) override { add(on ? "busy" : "idle"); }
  void statusBar(double fraction) override { add("bar " + std::to_string(int(fraction * 100))); }
  void console(const std::string& line) override { add("console " + line); }
  void command(int id, int subid) override { add("command " + std::to_string(id + subid)); }
  void pictureViewer(const image::Image& shown) override { add("viewer " + std::to_string(shown.width())); }
  void add(const std::string& line);
  void addNewFiles();

  Lines lines;
  std::filesystem::path watched;
  std::set<std::filesystem::path> known;
};

// While it lives the host's operations, as they then are, tell that they are called.
class OperationsLog {
 public:
  explicit OperationsLog(HostLog& told);
  ~OperationsLog() { host::operations() = former_; }
  OperationsLog(const OperationsLog&) = delete;
  OperationsLog& operator=(const OperationsLog&) = delete;

 private:
  const host::Operations former_ = host::operations();
};

// A user's machine in a temporary folder: a home, the host's write directory, and python3 being a plain shell, so that
// the scripts which take the render helper's place start at once. A script that calls `round` goes on when the
// supervision has polled at least once more, given `polls` as its break test.
struct HostCase : testing::Test {
  HostCase();
  bool polls();  // never breaks
  void write(const std::filesystem::path& file, const std::string& content) const { folder.write(file, content); }
  std::string contentOf(const std::filesystem::path& file) const { return folder.contentOf(file); }

  const TemporaryFolder folder;
  const std::filesystem::path home = folder / "home", data = folder / "write/quillmere/c4d", runtime = data / "runtime";
  HostLog told;
  host::Application application{folder / "write", told};
};

// The built module opened from a plug-in folder with its own helper script, and a never-saved document of 8 x 6 pixels
// with the cameras "Front" and "Side" and the effect among its render settings, with a workflow chosen.
struct EffectCase : HostCase {
  EffectCase();
  cinema::BaseContainer& settings() { return *node->GetDataInstance(); }
  std::string text(int id) { return ToUtf8(settings().GetString(id)); }
  cinema::BaseObject* camera(std::size_t index) { return document->cameras().at(index).object; }
  cinema::BaseDocument& api() { return document->api(); }

  const std::filesystem::path plugin = folder / "plugin", script = plugin / "python/quillmere_render_helper.py";
  std::unique_ptr<host::Document> document;
  cinema::BaseVideoPost* node;
};

}  // namespace quillmere
