#include <gmock/gmock.h>

#include "api/frame.h"
#include "history/history_snapshots.h"
#include "host_case.h"
#include "prompt.h"
#include "render_driver.h"
#include "render_status.h"

// Whole frames by the module as it is loaded from disk, with scripts as real processes in the render helper's place.
namespace quillmere {
namespace {

using namespace cinema;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct IntegrationRender : EffectCase {
  IntegrationRender() {
    document->setFps(25);
    document->setFrame(12);
    settings().SetFilename(QUILLMERE_OUTPUT_DIRECTORY, host::filenameOf(data / "out"));
    settings().SetString(QUILLMERE_SYSTEM_PROMPT, String("Keep\tit."));
    settings().SetString(QUILLMERE_PROMPT, String("a \"red\"\r\n\\ é car"));
    settings().SetLink(QUILLMERE_CAMERA, camera(1));
  }
  RENDERRESULT render() {
    return host::renderFrame(*document, [&] { return polls(); }).result;
  }
  // The opening call alone, by the same code outside the module, of a render whose buffer isn't of the settings' size.
  RENDERRESULT open(Filename& result) {
    host::RenderCall call(document.get(), host::RenderCall::Buffer{3, 2}, [&] { return polls(); });
    return GenerateFrame(node, &call.at(VIDEOPOSTCALL::RENDER, true), ComposePrompt(settings()), result);
  }
  Lines withHelper(const Lines& rest) const {
    Lines all = {capturing, "busy", preparing, "busy", preparing, "busy"};  // again from the first status file
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
  }
  const std::string capturing = "text Rendering guide from camera: Side (Quick Shading)";
  const std::string preparing = "text Preparing Quillmere render";
  const std::filesystem::path entry = data / "history/untitled/render_f12.json";
  const std::filesystem::path viewState = runtime / "render_view_state.json";
  const std::string guide = (runtime / "reference_12.png").string();
  // Answers with the guide itself, after one message.
  const std::string echo = "round; printf '%20000s' '{\"message\":\"Drawing\"}' > " +
                           (runtime / "status_12.json").string() +
                           "; round; printf '%20000s' '{\"ok\": true, \"first_output\": \"" + guide + "\"}' > \"$2\"\n";
};

TEST_F(IntegrationRender, GeneratesAFrameStepByStepAndRecordsIt) {
  write(script, echo);
  create_directories(told.watched = data);
  const OperationsLog operations(told);
  Filename result;
  EXPECT_EQ(open(result), RENDERRESULT::OK);
  EXPECT_EQ(host::pathOf(result), guide);
  told.addNewFiles();
  std::string steps;
  for (const std::string& line : told.lines) steps += line + "; ";
  EXPECT_EQ(steps,
            "new history; new history/untitled; new out; new runtime; " + capturing + "; busy; bitmap; init 8 6 32; " +
                "save reference_12.png 1023671; new runtime/reference_12.png; new runtime/request_12.json; " +
                "new runtime/status_12.json; " + preparing + "; busy; " + preparing + "; busy; text Drawing; busy; " +
                "new runtime/response_12.json; text Render complete; idle; bar 100; " +
                "new runtime/render_view_state.json; command 1060501; new history/untitled/render_f12.json; ");
  EXPECT_EQ(contentOf(runtime / "request_12.json"),
            "{\n  \"workflow_path\": \"/w/ink.json\",\n  \"output_dir\": \"" + (data / "out").string() +
                "\",\n  \"output_prefix\": \"render\",\n"
                "  \"effective_prompt\": \"Keep\\tit. a \\\"red\\\"\\r\\n\\\\ é car\",\n  \"reference_image\": \"" +
                guide + "\",\n  \"locked_style_image\": \"\",\n  \"status_path\": \"" +
                (runtime / "status_12.json").string() + "\",\n  \"width\": 8,\n  \"height\": 6,\n  \"frame\": 12\n}\n");
  EXPECT_EQ(contentOf(viewState), "{\n  \"last_image\": \"" + guide + "\",\n  \"selected_image\": \"" + guide +
                                      "\",\n  \"locked_style_image\": \"\",\n  \"history_dir\": \"" +
                                      entry.parent_path().string() + "\",\n  \"reference_image\": \"" + guide +
                                      "\",\n  \"status_text\": \"Render complete\"\n}\n");
  EXPECT_EQ(contentOf(entry), "{\"status\":\"complete\",\"frame\":12,\"output\":\"" + guide + "\"}");
  EXPECT_EQ(text(QUILLMERE_STATUS), "Render complete");
  EXPECT_EQ(text(QUILLMERE_LAST_HISTORY_ENTRY), guide);
}

TEST_F(IntegrationRender, KeepsTheViewersStyleImageAndLeavesOutWhatIsOff) {
  const std::string locked = R"("locked_style_image": "C:\\a.png",)";
  write(viewState, std::string(20000, ' ') + "{" + locked + R"("selected_image": "/mine"})");
  write(script, echo);
  settings().SetBool(QUILLMERE_OPEN_PREVIEW_AFTER_RENDER, false);
  settings().SetBool(QUILLMERE_SAVE_HISTORY_SNAPSHOTS, false);
  settings().SetInt32(QUILLMERE_GUIDE_MODE, 1);
  EXPECT_EQ(render(), RENDERRESULT::OK);
  EXPECT_EQ(told.lines.front(), "text Rendering guide from camera: Side (Final Render)");
  EXPECT_EQ(told.lines.back(), "bar 100");
  EXPECT_FALSE(exists(data / "history"));
  EXPECT_THAT(contentOf(runtime / "request_12.json"), HasSubstr(locked));
  EXPECT_THAT(contentOf(viewState), AllOf(HasSubstr(locked), Not(HasSubstr("/mine"))));
}

TEST_F(IntegrationRender, SucceedsOnAnEarlierResponseAndWithoutAPicture) {
  write(runtime / "response_12.json", R"({"ok": true})");
  Filename result("/earlier.png");
  EXPECT_EQ(open(result), RENDERRESULT::OK);
  EXPECT_FALSE(result.IsPopulated());
  EXPECT_EQ(told.lines, withHelper({"text Render complete", "idle", "bar 100"}));
  EXPECT_EQ(contentOf(runtime / "status_12.json"),
            "{\n  \"phase\": \"prepare\",\n  \"message\": \"Preparing Quillmere render\"\n}\n");
  EXPECT_EQ(contentOf(entry), R"({"status":"complete","frame":12,"output":""})");
  EXPECT_THAT(contentOf(runtime / "request_12.json"), HasSubstr("\"width\": 8,\n  \"height\": 6,"));
}

TEST_F(IntegrationRender, GetsByWithoutRenderSettingsAndWithoutAStatusFile) {
  const host::Substitute noSettings(host::operations().activeRenderData, [](auto&) { return nullptr; });
  create_directories(runtime / "status_12.json");
  write(runtime / "response_12.json", R"({"ok": true})");
  Filename result;
  EXPECT_EQ(open(result), RENDERRESULT::OK);
  EXPECT_EQ(told.lines, (Lines{capturing, "busy", preparing, "busy", "text Render complete", "idle", "bar 100"}));
  EXPECT_THAT(contentOf(runtime / "request_12.json"), HasSubstr("\"width\": 1024,\n  \"height\": 1024,"));
}

TEST_F(IntegrationRender, SaysWhyTheHelperFailed) {
  const std::string standard = "Quillmere render failed";
  for (const auto& [lines, message] : std::vector<std::pair<std::string, std::string>>{
           {R"(printf '{"ok": false, "error": "disk \\"x\\" full"}' > "$2")", "disk \"x\" full"},
           {R"(printf '{"ok": true, "error": "late"}' > "$2"; exit 3)", "late"},
           {R"(printf '{"ok": true, "first_output": "/x"}' > "$2"; kill -9 $$)", standard},
           {R"(printf '{"ok": "true"}' > "$2")", standard},
           {R"(head -c 100000 /dev/urandom > "$2")", standard},
           {R"(rm "$2"; mkdir "$2")", standard}}) {
    SCOPED_TRACE(lines);
    told.lines.clear();
    write(script, lines);
    Filename result("/earlier.png");
    EXPECT_EQ(open(result), RENDERRESULT::FAILED);
    EXPECT_EQ(ToUtf8(result.GetString()), "/earlier.png");
    EXPECT_EQ(told.lines, withHelper({"text " + message, "idle", "console [Quillmere Renderer] " + message}));
    EXPECT_EQ(text(QUILLMERE_STATUS), message);
  }
  EXPECT_FALSE(exists(viewState));
  EXPECT_FALSE(exists(entry));
}

TEST_F(IntegrationRender, EndsEarlyAtEachStageAndKeepsTheFormerResult) {
  const auto endsEarly = [&](RENDERRESULT code, const std::string& status, const Lines& lines) {
    SCOPED_TRACE(status);
    told.lines.clear();
    Filename result("/earlier.png");
    EXPECT_EQ(open(result), code);
    EXPECT_EQ(text(QUILLMERE_STATUS), status);
    EXPECT_EQ(told.lines, lines);
    EXPECT_EQ(ToUtf8(result.GetString()), "/earlier.png");
  };
  create_directories(runtime / "request_12.json");
  endsEarly(RENDERRESULT::PROJECTNOTFOUND, "Failed to write render request",
            {capturing, "busy", "text Failed to write render request", "idle"});
  const host::Substitute notSaved(host::operations().saveBitmap, [](auto&&...) { return IMAGERESULT::FILEERROR; });
  const std::string notCaptured = "Failed to capture selected camera: Side (Quick Shading)";
  endsEarly(RENDERRESULT::FAILED, notCaptured, {capturing, "busy", "text " + notCaptured, "idle"});
  settings().SetLink(QUILLMERE_CAMERA, nullptr);
  api().SetSceneCamera(nullptr);
  endsEarly(RENDERRESULT::FAILED, "No camera selected", {"text No camera selected", "idle"});
  settings().SetString(QUILLMERE_WORKFLOW_PATH, String());
  endsEarly(RENDERRESULT::OK, "No workflow selected", {});
  EXPECT_FALSE(exists(runtime / "status_12.json"));
}

using RenderStatus = HostCase;

TEST_F(RenderStatus, IsStoredAndShownWhereThereIsAPlaceForIt) {
  host::RenderCall call(nullptr, std::nullopt, noBreak);
  cinema::BaseContainer settings;
  const auto report = [&](cinema::VideoPostStruct* vps, cinema::BaseContainer* stored, const char* text,
                          double progress) {
    UpdateRenderStatus(vps, stored, cinema::String(text), BusyIndicator::Off, progress);
    return ToUtf8(settings.GetString(QUILLMERE_STATUS));
  };
  EXPECT_EQ(report(nullptr, &settings, "no call", 1), "no call");
  EXPECT_EQ(report(&call.at(cinema::VIDEOPOSTCALL::RENDER, false), &settings, "no volume data", 1), "no volume data");
  EXPECT_EQ(told.lines, Lines());
  EXPECT_EQ(report(&call.at(cinema::VIDEOPOSTCALL::RENDER, true), nullptr, "shown", 0), "no volume data");
  EXPECT_EQ(told.lines, (Lines{"text shown", "idle", "bar 0"}));
}

using HistorySnapshots = HostCase;

TEST_F(HistorySnapshots, StandInAFolderNamedAfterTheSavedDocument) {
  for (const auto& [name, sanitized] : std::vector<std::pair<const char*, const char*>>{
           {"My Scene.gltf", "My_Scene.gltf"}, {"a:b\\c é.gltf", "a-b-c_é.gltf"}}) {
    write(folder / name, R"({"asset":{"version":"2.0"}})");
    host::Document saved(folder / name);
    const auto entry = QuillmereHistory::BuildSnapshotPath(&saved.api(), "a", -3, "json");
    EXPECT_EQ(host::pathOf(entry), data / "history" / sanitized / "a_f-3.json");
    EXPECT_TRUE(is_directory(data / "history" / sanitized));
  }
  EXPECT_EQ(ToUtf8(QuillmereSanitizeName("/ /")), "-_-");
  EXPECT_EQ(host::pathOf(QuillmereHistory::GetDocumentHistoryRoot(nullptr)), data / "history");
}

}  // namespace
}  // namespace quillmere
