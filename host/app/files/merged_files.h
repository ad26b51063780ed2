#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

// Renders that run side by side have a write directory each; a viewer sees that of all of them.
namespace quillmere::app {

// Where those are.
std::filesystem::path jobsFolder(const std::filesystem::path& writeDirectory);

// The write directory of the `number`th process (from 1) that renders for the one that owns `writeDirectory`.
std::filesystem::path writeDirectoryOfJob(const std::filesystem::path& writeDirectory, int number);

// Shows what a frame in `from` has left, guide, request, status, response and history entries, in `into` too, over what
// an earlier render has left there; the files are shared, or copied where file systems don't share. What can't be
// shown costs no frame.
void mergeFrame(const std::filesystem::path& from, const std::filesystem::path& into, std::int32_t frame) noexcept;

// The same for the view state of the frame, in which the files are then those in `into`. The style that is locked there
// stays locked.
void mergeViewState(const std::filesystem::path& from, const std::filesystem::path& into) noexcept;

// Locks this style for the effect, as a viewer would. Throws Error.
void lockStyle(const std::filesystem::path& writeDirectory, const std::string& picture);

}  // namespace quillmere::app
