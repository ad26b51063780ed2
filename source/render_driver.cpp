#include "render_driver.h"

#include "../res/description/vpquillmere.h"
#include "bridge/exchange_files.h"
#include "bridge/helper_process.h"
#include "bridge/render_view_state.h"
#include "bridge/runtime_locations.h"
#include "bridge/text_file.h"
#include "console.h"
#include "drendersettings.h"
#include "guide_capture.h"
#include "history/history_snapshots.h"
#include "plugin_id.h"
#include "render_status.h"

namespace quillmere {

using namespace cinema;

namespace {

constexpr char kCompleteText[] = "Render complete";
constexpr Int32 kDefaultEdge = 1024;  // pixels, where there are no render settings

// What the host has given for this call.
struct Call {
  VideoPostStruct* vps;
  BaseContainer& settings;
  BaseDocument* document;  // may be null

  void Report(const String& text, BusyIndicator busy, double progress = kKeepBar) const {
    UpdateRenderStatus(vps, &settings, text, busy, progress);
  }
};

// What is to be generated.
struct Job {
  String workflowPath;
  Int32 width, height;
  Int32 frame;
  String prompt;
  Filename outputDirectory;
  String prefix;
  BaseObject* camera;  // may be null
  GuideMode guideMode;
};

struct Generated {
  bool ok;
  String firstOutput;
  String error;
};

BaseContainer ActiveRenderSettings(BaseDocument* document) {
  const RenderData* const active = document ? document->GetActiveRenderData() : nullptr;
  return active ? active->GetDataInstanceRef() : BaseContainer();
}

Job ReadJob(const Call& call, const String& workflowPath, const String& prompt) {
  const BaseContainer renderSettings = ActiveRenderSettings(call.document);
  Job job;
  job.workflowPath = workflowPath;
  job.width = renderSettings.GetInt32(RDATA_XRES, kDefaultEdge);
  job.height = renderSettings.GetInt32(RDATA_YRES, kDefaultEdge);
  job.frame = call.document ? call.document->GetTime().GetFrame(Float(call.document->GetFps())) : 0;
  job.prompt = prompt;
  job.outputDirectory = call.settings.GetFilename(QUILLMERE_OUTPUT_DIRECTORY);
  job.prefix = call.settings.GetString(QUILLMERE_FILENAME_PREFIX);
  job.camera = ResolveConfiguredCamera(&call.settings, call.document);
  job.guideMode = GuideModeOf(call.settings.GetInt32(QUILLMERE_GUIDE_MODE));
  return job;
}

void PrepareDirectories(const Call& call, const Job& job) {
  QuillmereHistory::EnsureDirectory(job.outputDirectory);
  if (call.settings.GetBool(QUILLMERE_SAVE_HISTORY_SNAPSHOTS)) {
    QuillmereHistory::EnsureDirectory(QuillmereHistory::GetDocumentHistoryRoot(call.document));
  }
}

bool CaptureGuide(const Call& call, const Job& job, const Filename& reference) {
  const String source = job.camera->GetName() + " (" + GuideModeLabel(job.guideMode) + ")";
  call.Report("Rendering guide from camera: " + source, BusyIndicator::On);
  if (RenderReferenceImage(call.document, job.camera, job.guideMode, job.width, job.height, reference)) return true;
  call.Report("Failed to capture selected camera: " + source, BusyIndicator::Off);
  return false;
}

bool WriteExchangeFiles(const Call& call, const Job& job, const Filename& reference, const ExchangeFiles& files,
                        const Filename& viewState) {
  const RenderRequest request = {
      job.workflowPath, job.outputDirectory, job.prefix, job.prompt, reference, ReadLockedStyleImage(viewState),
      files.status,     job.width,           job.height, job.frame};
  if (!WriteTextFile(files.request, RequestText(request))) {
    call.Report(String("Failed to write render request"), BusyIndicator::Off);
    return false;
  }
  WriteTextFile(files.status, InitialStatusText());
  return true;
}

Generated RunHelper(const Call& call, const ExchangeFiles& files) {
  call.Report(String(kPreparingText), BusyIndicator::On);
  const int process = LaunchRenderHelper(files.request, files.response);
  const bool ended = WaitForRenderHelper(process, files.status, call.vps, &call.settings);
  const RenderResponse response = ReadResponse(files.response);
  return {ended && response.ok, response.firstOutput, response.error};
}

void ReportFailure(const Call& call, const String& error) {
  const String message = error.IsPopulated() ? error : String("Quillmere render failed");
  call.Report(message, BusyIndicator::Off);
  PrintLine(message);
}

void RecordSuccess(const Call& call, const String& firstOutput, const Filename& reference, const Filename& viewState) {
  call.Report(String(kCompleteText), BusyIndicator::Off, 1.0);
  call.settings.SetString(QUILLMERE_LAST_HISTORY_ENTRY, firstOutput);
  WriteRenderViewState(viewState, QuillmereHistory::GetDocumentHistoryRoot(call.document), firstOutput,
                       String(kCompleteText), reference.GetString());
}

void OpenPreview(const Call& call, const String& firstOutput) {
  if (!call.settings.GetBool(QUILLMERE_OPEN_PREVIEW_AFTER_RENDER) || firstOutput.IsEmpty()) return;
  CallCommand(kPreviewCommandId, 0);
}

void SaveSnapshot(const Call& call, const Job& job, const String& firstOutput) {
  if (!call.settings.GetBool(QUILLMERE_SAVE_HISTORY_SNAPSHOTS)) return;
  const Filename entry = QuillmereHistory::BuildSnapshotPath(call.document, job.prefix, job.frame, String("json"));
  QuillmereHistory::WriteJsonEntry(entry, CompletionRecord(job.frame, firstOutput));
}

}  // namespace

RENDERRESULT GenerateFrame(BaseVideoPost* node, VideoPostStruct* vps, const String& prompt, Filename& resultFile) {
  BaseContainer* const settings = node ? node->GetDataInstance() : nullptr;
  if (!settings) return RENDERRESULT::OK;
  const Call call = {vps, *settings, node->GetDocument()};
  const String workflowPath = settings->GetString(QUILLMERE_WORKFLOW_PATH);
  if (workflowPath.IsEmpty()) {
    settings->SetString(QUILLMERE_STATUS, String("No workflow selected"));
    return RENDERRESULT::OK;
  }

  const Job job = ReadJob(call, workflowPath, prompt);
  if (!job.camera) {
    call.Report(String("No camera selected"), BusyIndicator::Off);
    return RENDERRESULT::FAILED;
  }
  PrepareDirectories(call, job);
  const Filename reference = ReferenceFile(job.frame);
  if (!CaptureGuide(call, job, reference)) return RENDERRESULT::FAILED;

  const ExchangeFiles files = ExchangeFilesOf(job.frame);
  const Filename viewState = GetRenderViewStatePath();
  if (!WriteExchangeFiles(call, job, reference, files, viewState)) return RENDERRESULT::PROJECTNOTFOUND;
  const Generated generated = RunHelper(call, files);
  if (!generated.ok) {
    ReportFailure(call, generated.error);
    return RENDERRESULT::FAILED;
  }

  RecordSuccess(call, generated.firstOutput, reference, viewState);
  resultFile = generated.firstOutput.IsPopulated() ? Filename(generated.firstOutput) : Filename();
  OpenPreview(call, generated.firstOutput);
  SaveSnapshot(call, job, generated.firstOutput);
  return RENDERRESULT::OK;
}

}  // namespace quillmere
