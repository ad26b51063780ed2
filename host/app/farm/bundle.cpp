#include "bundle.h"

#include <system_error>

#include "base/file_reading.h"
#include "base/json.h"
#include "scene/gltf_document.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargestDocument = std::size_t{256} << 20U;  // bytes of JSON
constexpr int kDeepest = 100;

void copyFile(const fs::path& from, const fs::path& to) {
  std::error_code error;
  fs::create_directories(to.parent_path(), error);
  if (!error) fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
  if (!error) return;
  throw Failure(ExitStatus::Failed, "copy of '" + from.string() + "'", error.message(),
                "see that it can be read, and that '" + to.parent_path().string() + "' can be written");
}

// The document in a .gltf, or in the first chunk of a .glb: a header of 12 bytes, the chunk's length and its kind.
std::string documentIn(const std::vector<std::uint8_t>& content) {
  std::string text(content.begin(), content.end());
  if (!text.starts_with("glTF") || text.size() < 20) return text;
  std::size_t length = 0;
  for (std::size_t byte = 0; byte < 4; ++byte) length |= static_cast<std::size_t>(content[12 + byte]) << (8 * byte);
  return text.substr(20, length);
}

// Whether a reference is a file and not the data itself.
bool namesFile(const Json& item) {
  const Json uri = item.is_object() ? item.value("uri", Json()) : Json();
  return uri.is_string() && !uri.get<std::string>().starts_with("data:");
}

// What the scene's buffers and pictures are, as it writes it.
std::vector<std::string> referencesOf(const fs::path& scene) {
  const std::string what = "scene '" + scene.string() + "'";
  const Json document = readOrFail(what, "see quillmere info for what it holds", [&] {
    return parsedJson(documentIn(readStart(scene, kLargestDocument)), kDeepest);
  });
  std::vector<std::string> references;
  for (const char* list : {"buffers", "images"}) {
    if (!document.is_object() || !document.contains(list) || !document[list].is_array()) continue;
    for (const Json& item : document[list]) {
      if (namesFile(item)) references.push_back(item["uri"]);
    }
  }
  return references;
}

}  // namespace

fs::path Bundle::nextFolder() {
  return folder_ / std::to_string(++count_);
}

fs::path Bundle::add(const fs::path& file) {
  fs::path copy = nextFolder() / file.filename();
  copyFile(file, copy);
  return copy;
}

fs::path Bundle::addScene(const fs::path& file) {
  const fs::path folder = nextFolder(), from = fs::absolute(file).parent_path();
  copyFile(file, folder / file.filename());
  for (const std::string& reference : referencesOf(file)) {
    const fs::path read = readOrFail("scene '" + file.string() + "'", "put its files beside it",
                                     [&] { return scene::resolveReference(from, reference); });
    copyFile(read, folder / read.lexically_relative(from));
  }
  return folder / file.filename();
}

fs::path Bundle::addWorkflow(const fs::path& file) {
  fs::path copy = add(file);
  try {
    const Json workflow = parsedJson(readText(file, kLargestDocument), kDeepest);
    const Json graph = workflow.is_object() ? workflow.value("graph", Json()) : Json();
    const fs::path name = graph.is_string() ? graph.get<std::string>() : "";
    // Elsewhere than beside it the helper takes none, and nothing is written there.
    if (!name.empty() && name == name.filename()) copyFile(file.parent_path() / name, copy.parent_path() / name);
  } catch (const Failure&) {
    throw;
  } catch (const Error&) {  // a picture that holds its workflow, or what the helper will name as damaged
  }
  return copy;
}

}  // namespace quillmere::app
