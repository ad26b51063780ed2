#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "ordinary_file.h"

// The files that the effect exchanges with its helper and with viewers, below the host's write directory.
namespace quillmere::app {

// WRITE/quillmere/c4d, where all of them lie.
std::filesystem::path exchangeFolder(const std::filesystem::path& writeDirectory);

// The folder in it of each frame's request, status, response and guide.
std::filesystem::path runtimeFolder(const std::filesystem::path& writeDirectory);

// The guide that the effect leaves for its helper.
std::filesystem::path guideFile(const std::filesystem::path& writeDirectory, std::int32_t frame);

// What the helper tells while it works on the frame.
std::filesystem::path statusFile(const std::filesystem::path& writeDirectory, std::int32_t frame);

// What keeps a frame from being rendered, since the effect would open it and might wait for it without end: something
// else than a file in the place of one of the frame's own files. None when all is well.
std::optional<Obstacle> obstacleForFrame(const std::filesystem::path& writeDirectory, std::int32_t frame);

// The same for the files that all frames share: the view state, and whatever lies in the histories.
std::optional<Obstacle> obstacleForAll(const std::filesystem::path& writeDirectory);

// The same for the files of every frame that has been rendered.
std::optional<Obstacle> obstacleForAny(const std::filesystem::path& writeDirectory);

}  // namespace quillmere::app
