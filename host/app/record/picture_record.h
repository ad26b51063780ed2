#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

// What made a picture, as the render helper keeps it in the picture itself (PNG text "quillmere") and in a side file
// `<picture>.json`; docs/workflows.md lists the keys.
namespace quillmere::app {

inline constexpr const char* kRecordKeyword = "quillmere";

// The JSON object in `content`, called `what` in messages. Throws Failure for what is damaged, no object, or nested
// more than 100 deep.
nlohmann::ordered_json parsedRecord(const std::string& content, const std::string& what);

// The record in the picture, else the one beside it, of at most 32 MiB. Throws Failure for a picture that is missing or
// damaged, and for one that nothing of ours has made.
nlohmann::ordered_json recordOf(const std::filesystem::path& picture);

// The same as a text in ASCII to be kept in another picture; empty when there is none.
std::string recordTextOf(const std::filesystem::path& picture);

}  // namespace quillmere::app
