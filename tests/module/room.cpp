#include "room.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "still_scene.h"

namespace quillmere {

namespace fs = std::filesystem;

namespace {

fs::path newFolder() {
  std::string name = (fs::temp_directory_path() / "quillmere-room-XXXXXX").string();
  return mkdtemp(name.data());
}

}  // namespace

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const fs::path& file, const std::string& content) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
}

Room::Room() : folder(newFolder()) {
  write(folder / "polls", "");
  write(folder / "bin/python3", "#!/bin/sh\nexec /bin/sh \"$@\"\n");
  write(folder / "bin/round",
        "#!/bin/sh\ncd '" + folder.string() +
            "'; n=$(wc -l < polls); until [ $(wc -l < polls) -gt $((n + 1)) ]; do sleep 0.01; done\n");
  for (const char* const program : {"bin/python3", "bin/round"})
    fs::permissions(folder / program, fs::perms::owner_all);
  setenv("HOME", home.c_str(), 1);
  setenv("PATH", ((folder / "bin").string() + ":/usr/bin:/bin").c_str(), 1);
}

Room::~Room() {
  fs::remove_all(folder);
}

bool Room::polls() {
  std::ofstream(folder / "polls", std::ios::app) << '\n';
  return false;
}

EffectRoom::EffectRoom() {
  write(script, "exit 0\n");
  fs::create_symlink(QUILLMERE_RES_FOLDER, plugin / "res");
  const char* const other = std::getenv("QUILLMERE_TEST_MODULE");  // the module as another toolchain makes it
  fs::copy(other ? other : QUILLMERE_MODULE_FILE, plugin);
  application.loadPlugin(plugin);
  document = std::make_unique<host::Document>(std::make_shared<StillScene>());
  document->setSize(8, 6);
  node = &document->addVideoPost(1060500);
  settings().SetString(QUILLMERE_WORKFLOW_PATH, cinema::String("/w/ink.json"));
}

}  // namespace quillmere
