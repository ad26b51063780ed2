#include "scene/fingerprint.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "base/content_hash.h"
#include "base/error.h"
#include "base/file_reading.h"
#include "scene/document_survey.h"
#include "scene/gltf_document.h"
#include "scene/warnings.h"

namespace quillmere::scene {
namespace {

// What the document refers to, in its order; empty for one that can't be loaded.
std::vector<std::string> referencesIn(const std::vector<std::uint8_t>& document) {
  try {
    DocumentSurvey survey = surveyDocument(document);
    std::vector<std::string> uris = std::move(survey.externalBuffers);
    uris.insert(uris.end(), survey.externalImages.begin(), survey.externalImages.end());
    return uris;
  } catch (const Error&) {
    return {};
  }
}

std::string hashOfReference(const std::filesystem::path& folder, const std::string& uri) {
  try {
    return contentHash(readBytes(resolveReference(folder, uri), kMostFileBytes));
  } catch (const Error&) {
    return "missing";
  }
}

std::vector<std::uint8_t> contentOf(const std::filesystem::path& file) {
  try {
    return readBytes(file, kMostFileBytes);
  } catch (const Error& error) {
    throw Error("cannot read scene '" + excerpt(file.string()) + "': " + error.what());
  }
}

}  // namespace

std::string fingerprint(const std::filesystem::path& file) {
  std::vector<std::uint8_t> document = contentOf(file);
  std::string hashes = contentHash(document);
  const std::vector<std::string> uris = referencesIn(document);
  document = {};
  for (const std::string& uri : uris) hashes += "\n" + hashOfReference(file.parent_path(), uri);
  return uris.empty() ? hashes : contentHash(hashes);
}

}  // namespace quillmere::scene
