#include "exchange_files.h"

#include "json_text.h"
#include "render_view_state.h"
#include "runtime_locations.h"
#include "text_file.h"

namespace quillmere {

using namespace cinema;

namespace {

constexpr char kMessageKey[] = "message";

Filename FrameFile(const char* stem, Int32 frame, const char* extension) {
  return BuildRuntimeFile(stem + String::IntToString(frame), String(extension));
}

}  // namespace

Filename ReferenceFile(Int32 frame) {
  return FrameFile("reference_", frame, "png");
}

ExchangeFiles ExchangeFilesOf(Int32 frame) {
  return {FrameFile("request_", frame, "json"), FrameFile("response_", frame, "json"),
          FrameFile("status_", frame, "json")};
}

std::string RequestText(const RenderRequest& request) {
  return JsonLines()
      .Add("workflow_path", request.workflowPath)
      .Add("output_dir", request.outputDirectory.GetString())
      .Add("output_prefix", request.outputPrefix)
      .Add("effective_prompt", request.effectivePrompt)
      .Add("reference_image", request.referenceImage.GetString())
      .Add(kLockedStyleImageKey, request.lockedStyleImage)
      .Add("status_path", request.status.GetString())
      .Add("width", request.width)
      .Add("height", request.height)
      .Add("frame", request.frame)
      .Text();
}

std::string InitialStatusText() {
  return JsonLines().Add("phase", String("prepare")).Add(kMessageKey, String(kPreparingText)).Text();
}

String ReadStatusMessage(const Filename& status) {
  return ExtractJsonString(ReadTextFile(status), kMessageKey);
}

RenderResponse ReadResponse(const Filename& response) {
  const String text = ReadTextFile(response);
  return {ExtractJsonBool(text, "ok", false), ExtractJsonString(text, "first_output"),
          ExtractJsonString(text, "error")};
}

String CompletionRecord(Int32 frame, const String& firstOutput) {
  return "{\"status\":\"complete\",\"frame\":" + String::IntToString(frame) + ",\"output\":\"" + firstOutput + "\"}";
}

}  // namespace quillmere
