#include "request.h"

namespace quillmere::studio {
namespace {

constexpr int kDeepest = 6;

}  // namespace

Answer answerWith(const Json& value) {
  return {.content = lineOf(value), .stamp = {}};
}

Answer refused(int status, const std::string& text) {
  return {.status = status, .content = lineOf({{"error", text}}), .stamp = {}};
}

std::size_t countIn(const Request& request, const char* key, std::size_t otherwise) {
  const auto found = request.values.find(key);
  if (found == request.values.end()) return otherwise;
  const auto number = numberIn<std::size_t>(found->second);
  if (!number) throw Refused(400, std::string(key) + " '" + found->second + "' is no number");
  return *number;
}

std::string textIn(const Request& request, const char* key) {
  const auto found = request.values.find(key);
  return found == request.values.end() ? "" : found->second;
}

Json bodyOf(const Request& request) {
  try {
    Json body = parsedJson(request.body, kDeepest);
    if (body.is_object()) return body;
  } catch (const Error&) {
    throw Refused(400, "the request's body is no JSON");
  }
  throw Refused(400, "the request's body is no JSON object");
}

std::optional<std::string> textIn(const Json& body, const char* key) {
  const auto value = body.find(key);
  if (value == body.end()) return {};
  if (!value->is_string()) throw Refused(400, std::string("'") + key + "' is no text");
  return value->get<std::string>();
}

std::string requiredText(const Json& body, const char* key) {
  const auto text = textIn(body, key);
  if (!text) throw Refused(400, std::string("'") + key + "' is missing");
  return *text;
}

}  // namespace quillmere::studio
