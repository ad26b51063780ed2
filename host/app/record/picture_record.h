#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "base/json.h"
#include "effect/drawing_options.h"
#include "effect/effect_session.h"
#include "image/file_formats.h"
#include "image/image.h"
#include "values/output_pattern.h"

// What made a picture, as the render helper keeps it in the picture itself (PNG text "quillmere") and in a side file
// `<picture>.json`; docs/workflows.md lists the keys.
namespace quillmere::app {

// What only the host knows of the pictures that the effect's node makes now: scene, camera, prompts, guide mode,
// workflow ID, version, and what `shown` says of how the scene is shown.
Json factsOf(EffectSession& session, const std::filesystem::path& scene, const Json& shown);

// Lets every helper that this process starts from now on keep these facts in its pictures. They stand in a file of
// `folder` (made where it is missing) that an environment variable names: set only while no other thread reads the
// environment, which a later call for the same folder does not. Throws Error.
void tellHelper(const Json& facts, const std::filesystem::path& folder);

// The name of the camera that the effect's node looks through.
std::string cameraOf(EffectSession& session);

// Every helper that this process starts from now on makes its pictures with this seed. As above.
void tellSeed(std::uint64_t seed);
// The seed, and the rule for seeds, that they are told; null when they aren't.
Json seedTold();
Json seedRuleTold();

// Every helper that this process starts from now on chooses seeds so, whatever its workflow says and any seed that it
// was told: a whole number of 64 bits, "frame" or "random". As above.
void tellSeedRule(const std::string& rule);

// Every helper that this process starts from now on follows the style of this picture instead of the one that is
// locked; of none, when it is empty. As above.
void tellStyle(const std::string& picture);
// The picture that they are told, which may be empty; none when the one that is locked counts.
std::optional<std::string> styleTold();

// The JSON object in `content`, called `what` in messages. Throws Failure for what is damaged, no object, or nested
// more than 100 deep.
Json parsedRecord(const std::string& content, const std::string& what);

// The record in the picture, else the one beside it, of at most 32 MiB. Throws Error for a picture that is missing or
// damaged, and for one that nothing of ours has made.
Json recordOf(const std::filesystem::path& picture);

// The same as a text in ASCII to be kept in another picture; empty when there is none.
std::string recordTextOf(const std::filesystem::path& picture);

struct FrameFormat {
  FileFormat file;
  image::ExrEncoding exr = image::ExrEncoding::Linear;
};

// Writes a frame (Float RGBA) beside `file`, which it then replaces, without its alpha channel where that is opaque.
// `record` tells what made it (empty: nothing does); a PNG carries it, an EXR has it in the side file, which is gone
// from before it is replaced until it is whole. Returns why that could not be written, though the frame was; else
// empty. Throws Error.
std::string writeFrame(const std::filesystem::path& file, FrameFormat format, const image::Image& frame,
                       const std::string& record);

}  // namespace quillmere::app
