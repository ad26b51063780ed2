#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "ordinary_file.h"

// The files that the effect exchanges with its helper and with viewers, below the host's write directory.
namespace quillmere::app {

// WRITE/quillmere/c4d, where all of them lie.
std::filesystem::path exchangeFolder(const std::filesystem::path& writeDirectory);

// The folder in it of each frame's request, status, response and guide.
std::filesystem::path runtimeFolder(const std::filesystem::path& writeDirectory);

// WRITE/quillmere/c4d/history, with a folder for each document.
std::filesystem::path historyFolder(const std::filesystem::path& writeDirectory);

// The entries of the frame in all of them.
std::vector<std::filesystem::path> historyEntries(const std::filesystem::path& writeDirectory, std::int32_t frame);

// Every file that a render of the frame may leave in the runtime folder, whether it is there or not.
std::vector<std::filesystem::path> filesOfFrame(const std::filesystem::path& writeDirectory, std::int32_t frame);

// The guide that the effect leaves for its helper.
std::filesystem::path guideFile(const std::filesystem::path& writeDirectory, std::int32_t frame);

// A pass that the host leaves beside it; `stem` is "depth" for depth_<frame>.png.
std::filesystem::path passFile(const std::filesystem::path& writeDirectory, const std::string& stem,
                               std::int32_t frame);

// What it answers.
std::filesystem::path responseFile(const std::filesystem::path& writeDirectory, std::int32_t frame);

// What the helper tells while it works on the frame.
std::filesystem::path statusFile(const std::filesystem::path& writeDirectory, std::int32_t frame);
// The last success, for viewers, which keep their locked style in it.
std::filesystem::path viewStateFile(const std::filesystem::path& writeDirectory);

// The host's own copy of it.
std::filesystem::path viewStateCopy(const std::filesystem::path& writeDirectory);

// Renames the response that an earlier render of the frame has left, so that nobody takes it for this one's.
void setFormerResponseAside(const std::filesystem::path& writeDirectory, std::int32_t frame);

// Whether one of these files was not written to its end: a text without its last brace, a picture without content. What
// isn't there or isn't a file is not cut off.
bool isCutOff(const std::filesystem::path& file);

// Those files of the frame and of all frames that were not written to their end, as on a full disk.
std::vector<std::filesystem::path> incompleteFiles(const std::filesystem::path& writeDirectory, std::int32_t frame);

// What keeps anything from being written: the directory, or a folder below it that the files lie in, is a link, or
// isn't the user's own. None for folders that are still to be made.
std::optional<Obstacle> obstacleToWriting(const std::filesystem::path& writeDirectory);

// Makes the directory and its folders, without the histories, where they are missing, for the user alone to write to.
// Returns why it failed.
std::error_code makeFolders(const std::filesystem::path& writeDirectory);

// What keeps a frame from being rendered, since the effect would open it and might wait for it without end: something
// else than a file in the place of one of the frame's own files. None when all is well.
std::optional<Obstacle> obstacleForFrame(const std::filesystem::path& writeDirectory, std::int32_t frame);

// The same for one more file, which is called `what`; a link in its place is an obstacle, too.
std::optional<Obstacle> obstacleAtLink(const char* what, const std::filesystem::path& file);

// The same for what all frames share: the folders, the view state, the provenance, and whatever lies in the histories.
std::optional<Obstacle> obstacleForAll(const std::filesystem::path& writeDirectory);

// The same for the files of every frame that has been rendered.
std::optional<Obstacle> obstacleForAny(const std::filesystem::path& writeDirectory);

}  // namespace quillmere::app
