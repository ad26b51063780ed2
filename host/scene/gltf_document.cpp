#include "scene/gltf_document.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <sstream>
#include <utility>

#include "base/file_reading.h"
#include "base/memory.h"
#include "scene/document_survey.h"
#include "scene/foreign_file.h"
#include "scene/parser_input.h"
#include "scene/scene.h"

namespace quillmere::scene {
namespace {

std::string percentDecoded(const std::string& uri) {
  std::string text;
  for (std::size_t i = 0; i < uri.size(); ++i) {
    const bool escape = uri[i] == '%' && i + 2 < uri.size() && std::isxdigit(static_cast<unsigned char>(uri[i + 1])) &&
                        std::isxdigit(static_cast<unsigned char>(uri[i + 2]));
    if (escape) {
      text += static_cast<char>(std::stoi(uri.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      text += uri[i];
    }
  }
  return text;
}

// "C:/x", "http://x", "data:…": a scheme ends with a colon before the first slash.
bool hasScheme(const std::string& uri) {
  const auto colon = uri.find(':');
  return colon != std::string::npos && colon < uri.find('/');
}

constexpr std::array kSupportedExtensions{
    "KHR_lights_punctual",   "KHR_materials_emissive_strength", "KHR_materials_unlit", "KHR_mesh_quantization",
    "KHR_texture_transform", "EXT_mesh_gpu_instancing",         "EXT_texture_webp",    "KHR_draco_mesh_compression"};

bool isSupported(const std::string& extension) {
  return std::find(kSupportedExtensions.begin(), kSupportedExtensions.end(), extension) != kSupportedExtensions.end();
}

void checkSurvey(const DocumentSurvey& survey) {
  if (survey.version.empty()) throw Error("it is no glTF: it has no asset version");
  if (survey.version.rfind("2.", 0) != 0) {
    throw Error("it is glTF " + excerpt(survey.version) + "; only glTF 2 is read, so convert or export it again");
  }
  for (const std::string& extension : survey.requiredExtensions) {
    if (!isSupported(extension)) {
      throw Error("it requires the extension " + excerpt(extension) +
                  ", which is not supported; export it without that extension");
    }
  }
}

// What the parser takes at least, for each byte of a document, and for each of its JSON; it ends the process where it
// finds too little.
constexpr std::uintmax_t kLeast = std::uintmax_t{8} << 20U, kForByte = 2, kForJson = 12;

std::uintmax_t memoryToParse(const std::vector<std::uint8_t>& bytes, const DocumentSurvey& survey) {
  std::uintmax_t json = bytes.size();
  if (survey.binary) {
    const auto byte = [&bytes](std::size_t at) { return std::uintmax_t{bytes[at]}; };
    json = std::min(json, byte(12) | byte(13) << 8U | byte(14) << 16U | byte(15) << 24U);
  }
  return kLeast + kForByte * bytes.size() + kForJson * json;
}

// The parser asks for its files in the order in which the document lists its buffers, under names that it has already
// decoded in its own way; so the names are resolved here and only the order is taken from it. Images come after the
// buffers and find the list used up: they are read when a material turns out to need them.
struct BufferFiles {
  std::filesystem::path folder;
  std::vector<std::string> uris;
  std::size_t next = 0;
  std::uintmax_t bytes = 0;
};

bool fileExists(const std::string&, void* user) {
  const auto& files = *static_cast<BufferFiles*>(user);
  return files.next < files.uris.size();
}

bool readFile(std::vector<unsigned char>* out, std::string*, const std::string&, void* user) {
  auto& files = *static_cast<BufferFiles*>(user);
  const std::string& uri = files.uris[files.next++];
  const auto path = resolveReference(files.folder, uri);
  try {
    *out = readBytes(path, kMostFileBytes);
  } catch (const Error& error) {
    throw Error("its buffer file '" + excerpt(path.string()) + "' can't be read: " + error.what());
  }
  files.bytes += out->size();
  if (files.bytes > kMostFileBytes) throw Error("its buffer files hold more than 2 GiB");
  return true;
}

bool writeNothing(std::string*, const std::string&, const std::vector<unsigned char>&, void*) {
  return false;
}

// Keeps what a data URI held. Images in a buffer view arrive with a pointer that nobody has checked: leave it alone.
bool keepEncoded(tinygltf::Image* image, const int index, std::string*, std::string*, int, int,
                 const unsigned char* bytes, int size, void* user) {
  auto& images = *static_cast<std::vector<std::vector<std::uint8_t>>*>(user);
  if (image->bufferView >= 0 || size <= 0 || index < 0) return true;
  images.resize(std::max(images.size(), static_cast<std::size_t>(index) + 1));
  images[static_cast<std::size_t>(index)].assign(bytes, bytes + size);
  return true;
}

// The parser reports what it leaves out, such as a channel without a target, as an error without failing. The missing
// inverse bind matrices that it also reports are allowed.
void keepRemarks(const std::string& remarks, Warnings& warnings) {
  std::istringstream lines(remarks);
  for (std::string line; std::getline(lines, line);) {
    const bool harmless = line.empty() || line.find("inverseBindMatrices") != std::string::npos ||
                          line.find("Failed to load external 'uri'") != std::string::npos ||
                          line.find("File not found") != std::string::npos;
    if (!harmless) warnings.add("part of the file was left out: " + line);
  }
}

void warnOfExtensions(GltfDocument& document) {
  for (const std::string& extension : document.model.extensionsUsed) {
    if (!isSupported(extension))
      document.warnings.add("the extension " + extension + " is not supported and is ignored");
  }
}

}  // namespace

void throwMissing(const char* what, int index, std::size_t count) {
  throw Error(std::string("there is no ") + what + " " + std::to_string(index) + ", only " + std::to_string(count));
}

std::span<const std::uint8_t> viewBytes(const tinygltf::Model& model, int view) {
  const auto& bufferView = itemAt(model.bufferViews, view, "buffer view");
  const auto& bytes = itemAt(model.buffers, bufferView.buffer, "buffer").data;
  if (bufferView.byteOffset > bytes.size() || bufferView.byteLength > bytes.size() - bufferView.byteOffset) {
    throw Error("buffer view " + std::to_string(view) + " ends beyond its buffer");
  }
  return std::span(bytes).subspan(bufferView.byteOffset, bufferView.byteLength);
}

std::optional<int> extensionIndex(const tinygltf::ExtensionMap& extensions, const char* name, const char* key) {
  const auto extension = extensions.find(name);
  if (extension == extensions.end() || !extension->second.IsObject()) return std::nullopt;
  const tinygltf::Value& index = extension->second.Get(key);
  return index.IsInt() ? std::optional(index.GetNumberAsInt()) : std::nullopt;
}

float toFloat(double number) {
  const auto limit = static_cast<double>(kLargestNumber);
  return static_cast<float>(std::clamp(number, -limit, limit));
}

std::filesystem::path resolveReference(const std::filesystem::path& folder, const std::string& uri) {
  const std::string name = percentDecoded(uri);
  const std::filesystem::path relative = std::filesystem::path(name).lexically_normal();
  const bool leaves = relative.is_absolute() || (!relative.empty() && *relative.begin() == "..");
  if (name.empty() || name.find('\0') != std::string::npos || hasScheme(uri) || leaves) {
    throw Error("it names '" + excerpt(uri) +
                "'; only files in the scene's own folder and below are read, so put it there");
  }
  std::error_code error;  // in what can't be looked at there is nothing to read either
  const auto inside = std::filesystem::weakly_canonical(folder.empty() ? "." : folder, error);
  const auto meant = std::filesystem::weakly_canonical(inside / relative, error);
  if (error || std::mismatch(inside.begin(), inside.end(), meant.begin(), meant.end()).first != inside.end()) {
    throw Error("it names '" + excerpt(uri) +
                "', a link that leads out of the scene's folder; put the file itself there");
  }
  return folder / relative;
}

GltfDocument parseGltf(const std::filesystem::path& file) {
  std::vector<std::uint8_t> bytes = readBytes(file, kMostFileBytes);
  if (const std::string foreign = foreignFile(bytes, file); !foreign.empty()) throw Error(foreign);
  DocumentSurvey survey = surveyDocument(bytes);
  checkSurvey(survey);
  requireMemory(memoryToParse(bytes, survey));
  bytes = forParser(std::move(bytes), survey.binary);

  GltfDocument document;
  document.folder = file.parent_path();
  BufferFiles files{document.folder, std::move(survey.externalBuffers)};
  tinygltf::TinyGLTF parser;
  parser.SetFsCallbacks(
      {fileExists, [](const std::string& path, void*) { return path; }, readFile, writeNothing, &files});
  parser.SetImageLoader(keepEncoded, &document.embeddedImages);
  std::string errors;
  std::string remarks;
  const auto size = static_cast<unsigned>(bytes.size());
  const bool parsed = survey.binary
                          ? parser.LoadBinaryFromMemory(&document.model, &errors, &remarks, bytes.data(), size)
                          : parser.LoadASCIIFromString(&document.model, &errors, &remarks,
                                                       reinterpret_cast<const char*>(bytes.data()), size, "");
  if (!parsed) throw Error("its content is damaged: " + excerpt(errors));
  keepRemarks(errors, document.warnings);
  document.embeddedImages.resize(document.model.images.size());
  warnOfExtensions(document);
  return document;
}

}  // namespace quillmere::scene
