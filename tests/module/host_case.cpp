#include "host_case.h"

#include <cstdlib>
#include <fstream>

#include "call_log.h"
#include "still_scene.h"

namespace quillmere {

namespace fs = std::filesystem;

void HostLog::add(const std::string& line) {
  addNewFiles();
  lines.push_back(line);
}

void HostLog::addNewFiles() {
  if (watched.empty()) return;
  std::set<fs::path> present;
  for (const fs::path& path : fs::recursive_directory_iterator(watched)) present.insert(path);
  for (const fs::path& path : present) {
    if (known.insert(path).second) lines.push_back("new " + path.lexically_relative(watched).string());
  }
}

OperationsLog::OperationsLog(HostLog& told) {
  host::Operations& table = host::operations();
  table.makeBitmap = [&told, former = former_.makeBitmap] { return told.add("bitmap"), former(); };
  table.initBitmap = [&told, former = former_.initBitmap](auto& bitmap, auto width, auto height, auto bits) {
    told.add("init " + std::to_string(width) + " " + std::to_string(height) + " " + std::to_string(bits));
    return former(bitmap, width, height, bits);
  };
  table.loadBitmap = [&told, former = former_.loadBitmap](auto& bitmap, const auto& file) {
    return told.add("load " + host::pathOf(file).filename().string()), former(bitmap, file);
  };
  table.saveBitmap = [&told, former = former_.saveBitmap](const auto& bitmap, const auto& file, auto format,
                                                          auto bits) {
    told.add("save " + host::pathOf(file).filename().string() + " " + std::to_string(format));
    return former(bitmap, file, format, bits);
  };
  table.renderDocument = [&told, former = former_.renderDocument](auto&&... rest) {
    return told.add("render"), former(rest...);
  };
}

void copyModuleTo(const fs::path& plugin) {
  const char* const other = std::getenv("QUILLMERE_TEST_MODULE");  // the module as another toolchain makes it
  fs::create_directories(plugin);
  fs::copy(other ? other : QUILLMERE_MODULE_FILE, plugin);
}

HostCase::HostCase() {
  callLog = {};
  write(folder / "polls", "");
  write(folder / "bin/python3", "#!/bin/sh\nexec /bin/sh \"$@\"\n");
  write(folder / "bin/round",
        "#!/bin/sh\ncd '" + folder.path().string() +
            "'; n=$(wc -l < polls); until [ $(wc -l < polls) -gt $((n + 1)) ]; do sleep 0.01; done\n");
  for (const char* const program : {"bin/python3", "bin/round"})
    fs::permissions(folder / program, fs::perms::owner_all);
  setenv("HOME", home.c_str(), 1);
  setenv("PATH", ((folder / "bin").string() + ":/usr/bin:/bin").c_str(), 1);
}

bool HostCase::polls() {
  std::ofstream(folder / "polls", std::ios::app) << '\n';
  return false;
}

EffectCase::EffectCase() {
  write(script, "exit 0\n");
  fs::create_symlink(QUILLMERE_RES_FOLDER, plugin / "res");
  copyModuleTo(plugin);
  application.loadPlugin(plugin);
  document = std::make_unique<host::Document>(std::make_shared<StillScene>());
  document->setSize(8, 6);
  node = &document->addVideoPost(1060500);
  settings().SetString(QUILLMERE_WORKFLOW_PATH, cinema::String("/w/ink.json"));
}

}  // namespace quillmere
