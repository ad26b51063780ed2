#include "picture_record.h"

#include <unistd.h>

#include <cstdlib>

#include "base/atomic_file.h"
#include "base/file_reading.h"
#include "image/conversion.h"
#include "image/file_formats.h"
#include "values/failure.h"
#include "values/frames.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// The helper's variables.
constexpr const char* kFactsFile = "QUILLMERE_PROVENANCE_FILE";
constexpr const char* kSeed = "QUILLMERE_SEED";
constexpr const char* kSeedRule = "QUILLMERE_SEED_RULE";
constexpr const char* kStyle = "QUILLMERE_STYLE";

constexpr const char* kKeyword = "quillmere";
constexpr std::size_t kLargest = 32U << 20U;  // bytes; as long as a text in a PNG may be
constexpr int kDeepest = 100;

constexpr const char* kRemedy = "render the picture again, or give another";

fs::path sideFileOf(const fs::path& picture) {
  return picture.string() + ".json";
}

fs::path factsFile(const fs::path& folder) {
  return fs::absolute(folder) / "provenance.json";
}

// What others keep under the same keyword or file name has no version of our helper.
Json checkedRecord(const std::string& content, const std::string& what) {
  Json record = parsedRecord(content, what);
  const auto version = record.find("helper_version");
  if (version == record.end() || !version->is_string()) {
    throw Failure(ExitStatus::Failed, what, "it was not written by Quillmere's render helper", kRemedy);
  }
  return record;
}

// Empty, or why not; a side file of the former picture then goes, which would tell of this one what isn't true.
std::string writtenBeside(const fs::path& picture, const std::string& record) {
  try {
    writeFile(sideFileOf(picture), record + "\n");
    return {};
  } catch (const Error& error) {
    ::unlink(sideFileOf(picture).c_str());
    return std::string(error.what()) + ", so nothing tells what made the frame";
  }
}

// Never with the record of another picture beside it, even if this process ends in between. Returns why there is none.
std::string writeExrWithRecord(const fs::path& file, image::ExrEncoding exr, const image::Image& picture,
                               const std::string& record) {
  std::error_code error;
  // A name that is swept when this process is gone.
  const fs::path side = sideFileOf(file), aside = side.parent_path() / ("." + side.filename().string() + "." +
                                                                        std::to_string(::getpid()) + ".part");
  const bool former = fs::is_regular_file(side, error);
  if (former) fs::rename(side, aside, error);
  const bool replaces = former && !error;
  try {
    image::writeExr(file, picture, exr);
  } catch (const Error&) {
    if (replaces) fs::rename(aside, side, error);
    throw;
  }
  if (replaces) fs::remove(aside, error);
  return record.empty() ? "" : writtenBeside(file, record);
}

bool isOpaque(const image::Image& frame) {
  for (int y = 0; y < frame.height(); ++y) {
    const float* rgba = frame.row<float>(y);
    for (int x = 0; x < frame.width(); ++x, rgba += 4) {
      if (rgba[3] < 1.0F) return false;
    }
  }
  return true;
}

}  // namespace

std::string cameraOf(EffectSession& session) {
  const Json stored = session.node().stored(QUILLMERE_CAMERA);
  if (stored.is_string() && !stored.empty()) return stored;
  const auto& cameras = session.document().cameras();
  return cameras.empty() ? "" : cameras.front().name;
}

Json factsOf(EffectSession& session, const fs::path& scene, const Json& shown) {
  const NodeParameters& node = session.node();
  Json facts{{"scene", fs::absolute(scene).lexically_normal().string()},
             {"camera", cameraOf(session)},
             {"guide_mode", wordOf(static_cast<GuideMode>(node.number(QUILLMERE_GUIDE_MODE)))},
             {"workflow_id", node.text(QUILLMERE_WORKFLOW_ID)},
             {"host_version", QUILLMERE_VERSION},
             {"system_prompt", node.text(QUILLMERE_SYSTEM_PROMPT)},
             {"prompt", node.text(QUILLMERE_PROMPT)}};
  facts.update(shown);
  return facts;
}

void tellHelper(const Json& facts, const fs::path& folder) {
  std::error_code error;  // a folder that is missing is told by the file that can't be written
  fs::create_directories(folder, error);
  writeFile(factsFile(folder), facts.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
  const std::string file = factsFile(folder).string();
  const char* const told = std::getenv(kFactsFile);
  if (told == nullptr || file != told) ::setenv(kFactsFile, file.c_str(), 1);
}

void tellSeed(std::uint64_t seed) {
  ::setenv(kSeed, std::to_string(seed).c_str(), 1);
}

void tellSeedRule(const std::string& rule) {
  ::setenv(kSeedRule, rule.c_str(), 1);
}

Json seedTold() {
  const char* const told = std::getenv(kSeed);
  return told == nullptr ? Json() : Json(told);
}

Json seedRuleTold() {
  const char* const told = std::getenv(kSeedRule);
  return told == nullptr ? Json() : Json(told);
}

void tellStyle(const std::string& picture) {
  ::setenv(kStyle, picture.c_str(), 1);
}

std::optional<std::string> styleTold() {
  const char* const style = std::getenv(kStyle);
  return style == nullptr ? std::nullopt : std::optional<std::string>(style);
}

Json parsedRecord(const std::string& content, const std::string& what) {
  return readOrFail(what, kRemedy, [&] {
    Json record = parsedJson(content, kDeepest);
    if (!record.is_object()) throw Error("it is no JSON object");
    return record;
  });
}

Json recordOf(const fs::path& picture) {
  const std::string name = "'" + picture.string() + "'";
  if (const auto text = image::pngText(picture, kKeyword)) {
    return checkedRecord(*text, "the record in picture " + name);
  }
  const fs::path side = sideFileOf(picture);
  std::error_code error;
  if (fs::is_regular_file(side, error)) {
    const std::string what = "side file '" + side.string() + "'";
    return checkedRecord(readOrFail(what, kRemedy, [&] { return readText(side, kLargest); }), what);
  }
  throw Failure(
      ExitStatus::Failed, "picture " + name, "nothing tells what made it",
      "give a picture that a render has written, or put its side file '" + side.filename().string() + "' beside it");
}

std::string recordTextOf(const fs::path& picture) {
  try {
    return recordOf(picture).dump(-1, ' ', true, Json::error_handler_t::replace);
  } catch (const Error&) {
    return {};
  }
}

std::string writeFrame(const fs::path& file, FrameFormat format, const image::Image& frame, const std::string& record) {
  const image::Image picture = isOpaque(frame) ? image::withChannels(frame, 3) : frame;
  const image::PngText text{record.empty() ? "" : kKeyword, record};
  switch (format.file) {
    case FileFormat::Png8:
      image::writePng(file, picture, image::PngDepth::As8Bit, text);
      return {};
    case FileFormat::Png16:
      image::writePng(file, picture, image::PngDepth::As16Bit, text);
      return {};
    case FileFormat::Exr:
      return writeExrWithRecord(file, format.exr, picture, record);
  }
  return {};
}

}  // namespace quillmere::app
