#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quillmere::scene {

// What must be known of a glTF document before the parser may have it.
struct DocumentSurvey {
  std::string version;                          // asset.version, empty when there is none
  std::vector<std::string> requiredExtensions;  // in document order
  std::vector<std::string> externalBuffers;     // URIs of the buffers kept in files of their own, in document order
};

// Reads the JSON once, without building anything from it. Throws Error (the reason alone) for text that is no JSON and
// for documents that would exhaust the stack or the memory of the parser: nested too deeply, buffers too large in sum,
// or an animation whose extensions, which the parser copies into each of its samplers, multiply.
DocumentSurvey surveyDocument(std::span<const std::uint8_t> json);

}  // namespace quillmere::scene
