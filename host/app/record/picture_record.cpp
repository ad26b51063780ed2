#include "picture_record.h"

#include <fstream>

#include "image/file_formats.h"
#include "image/png_text.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr std::size_t kLargest = 32U << 20U;  // bytes; as long as a text in a PNG may be
constexpr int kDeepest = 100;                 // deeper values could use up the stack
constexpr const char* kRemedy = "render the picture again, or give another";

[[noreturn]] void refuse(const std::string& what, const std::string& why) {
  throw Failure(ExitStatus::Failed, what, why, kRemedy);
}

fs::path sideFileOf(const fs::path& picture) {
  return picture.string() + ".json";
}

std::string contentOf(const fs::path& file) {
  const std::string what = "side file '" + file.string() + "'";
  std::ifstream stream(file, std::ios::binary);
  std::string content(kLargest + 1, '\0');
  stream.read(content.data(), static_cast<std::streamsize>(content.size()));
  if (!stream.is_open() || stream.bad()) refuse(what, "it cannot be read");
  content.resize(static_cast<std::size_t>(stream.gcount()));
  if (content.size() > kLargest) refuse(what, "it is larger than 32 MiB");
  return content;
}

// What others keep under the same keyword or file name has no version of our helper.
Json checked(Json record, const std::string& what) {
  const auto version = record.find("helper_version");
  if (version == record.end() || !version->is_string()) refuse(what, "it was not written by Quillmere's render helper");
  return record;
}

}  // namespace

Json parsedRecord(const std::string& content, const std::string& what) {
  const auto flat = [&what](int depth, Json::parse_event_t, const Json&) {
    if (depth > kDeepest) refuse(what, "it is nested more than 100 deep");
    return true;
  };
  try {
    Json record = Json::parse(content, flat);
    if (!record.is_object()) refuse(what, "it is no JSON object");
    return record;
  } catch (const Json::parse_error& error) {
    refuse(what, "it is damaged at byte " + std::to_string(error.byte) + ", where it is not JSON");
  } catch (const Json::out_of_range&) {
    refuse(what, "it holds a number that is too large");
  }
}

Json recordOf(const fs::path& picture) {
  const std::string name = "'" + picture.string() + "'";
  if (const auto text = image::pngText(picture, kRecordKeyword)) {
    const std::string what = "the record in picture " + name;
    return checked(parsedRecord(*text, what), what);
  }
  const fs::path side = sideFileOf(picture);
  std::error_code error;
  if (fs::is_regular_file(side, error)) {
    const std::string what = "side file '" + side.string() + "'";
    return checked(parsedRecord(contentOf(side), what), what);
  }
  throw Failure(
      ExitStatus::Failed, "picture " + name, "nothing tells what made it",
      "give a picture that a render has written, or put its side file '" + side.filename().string() + "' beside it");
}

std::string recordTextOf(const fs::path& picture) {
  try {
    return recordOf(picture).dump(-1, ' ', true, Json::error_handler_t::replace);
  } catch (const Failure&) {
  } catch (const Error&) {
  }
  return {};
}

}  // namespace quillmere::app
