#include "base/json.h"

#include "base/error.h"

namespace quillmere {

Json parsedJson(std::string_view text, int deepest) {
  const auto shallow = [deepest](int depth, Json::parse_event_t, const Json&) {
    if (depth > deepest) throw Error("it is nested more than " + std::to_string(deepest) + " deep");
    return true;
  };
  try {
    return Json::parse(text, shallow);
  } catch (const Json::parse_error& error) {
    throw Error("it is damaged at byte " + std::to_string(error.byte) + ", where it is not JSON");
  } catch (const Json::out_of_range&) {
    throw Error("it holds a number that is too large");
  }
}

std::string lineOf(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace quillmere
