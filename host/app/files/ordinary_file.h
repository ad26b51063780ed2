#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace quillmere::app {

// Something that must not be opened by a program that takes it for a file: a pipe or a device may keep it waiting
// without end, a folder can't be read or written.
struct Obstacle {
  std::string what, why, remedy;

  std::string text() const { return what + ": " + why + "; " + remedy; }
};

// Whether there is one at `file`, which the texts call `what`; none for an ordinary file, a link to one, and for
// nothing at all. Never opens it.
std::optional<Obstacle> obstacleAt(const std::string& what, const std::filesystem::path& file);

// Throws Failure when there is one.
void refuse(const std::optional<Obstacle>& obstacle);

// The whole content, and never that of anything else than a file. Throws Failure, which calls it `what` and ends in
// `remedy`, when it can't be read or is larger than `most` bytes, whole MiB.
std::string contentOf(const std::string& what, const std::filesystem::path& file, std::uintmax_t most,
                      const std::string& remedy);

}  // namespace quillmere::app
