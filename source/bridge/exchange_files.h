#pragma once

#include <string>

#include "c4d.h"

// The files through which the module and the render helper talk. Each frame number has its own; a later render of the
// frame overwrites them.
namespace quillmere {

// The guide image, for the helper to read.
cinema::Filename ReferenceFile(cinema::Int32 frame);

struct ExchangeFiles {
  cinema::Filename request;   // written here
  cinema::Filename response;  // written by the helper when it ends
  cinema::Filename status;    // first written here, then by the helper
};

ExchangeFiles ExchangeFilesOf(cinema::Int32 frame);

struct RenderRequest {
  cinema::String workflowPath;
  cinema::Filename outputDirectory;  // may be empty
  cinema::String outputPrefix;       // may be empty
  cinema::String effectivePrompt;
  cinema::Filename referenceImage;
  cinema::String lockedStyleImage;  // may be empty
  cinema::Filename status;
  cinema::Int32 width;  // pixels, of the guide and of the output
  cinema::Int32 height;
  cinema::Int32 frame;
};

std::string RequestText(const RenderRequest& request);

// What the user is told while the helper starts, also by the first status file.
constexpr char kPreparingText[] = "Preparing Quillmere render";
std::string InitialStatusText();

// The helper's message in the status file; empty when the file is missing, half written or has none.
cinema::String ReadStatusMessage(const cinema::Filename& status);

struct RenderResponse {
  bool ok;
  cinema::String firstOutput;  // the first image's path, may be empty
  cinema::String error;        // may be empty
};

// A missing response is not ok and has two empty texts.
RenderResponse ReadResponse(const cinema::Filename& response);

// The history entry of a finished frame. The path goes in as it stands, so one with a quote or a backslash in it makes
// an entry that is no JSON.
cinema::String CompletionRecord(cinema::Int32 frame, const cinema::String& firstOutput);

}  // namespace quillmere
