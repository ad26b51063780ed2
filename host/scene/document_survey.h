#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quillmere::scene {

// Most bytes that a scene's own file, or all files that it names, may have.
inline constexpr std::uintmax_t kMostFileBytes = std::uintmax_t{2} << 30U;

// What must be known of a glTF file before the parser may have it.
struct DocumentSurvey {
  bool binary = false;                          // a .glb, otherwise JSON text alone
  std::string version;                          // asset.version, empty when there is none
  std::vector<std::string> requiredExtensions;  // in document order
  std::vector<std::string> externalBuffers;     // URIs of the buffers kept in files of their own, in document order
  std::vector<std::string> externalImages;      // the same of its images
};

// Reads the file once, without building anything from it. Throws Error (the reason alone) when a length in the header,
// or of the JSON or the binary chunk, of a binary file does not hold; for text that is no JSON; and for documents that
// would exhaust the stack or the memory of the parser: nested too deeply, buffers too large in sum, an animation whose
// extensions, which the parser copies into each of its samplers, multiply, or values that the parser would need more
// than about 32 times the text for.
DocumentSurvey surveyDocument(std::span<const std::uint8_t> file);

}  // namespace quillmere::scene
