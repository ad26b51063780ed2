#pragma once

#include <charconv>
#include <map>
#include <optional>
#include <string>

#include "base/error.h"
#include "base/json.h"

namespace quillmere::studio {

struct Studio;

// A request of the protocol, whoever carries it.
struct Request {
  std::map<std::string, std::string> values;  // behind the "?"
  std::string subject;                        // what the path names last: a picture's identifier, a frame
  std::string body;                           // JSON
};

struct Answer {
  int status = 200;
  std::string type = "application/json";
  std::string content;
  std::string stamp;  // of content that stays the same under it; empty for what changes
};

// One line of docs/studio-protocol.md's table.
struct Route {
  enum class Method { Get, Post } method;
  const char* path;  // below it stands the subject, where it ends in "/"
  Answer (*answer)(Studio& studio, const Request& request);
};

// What is refused with a status of its own.
class Refused : public Error {
 public:
  Refused(int status, const std::string& text) : Error(text), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

Answer answerWith(const Json& value);
// {"error": text}
Answer refused(int status, const std::string& text);

// What a request holds. All throw Refused.
template <class Number>
std::optional<Number> numberIn(const std::string& text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}
std::size_t countIn(const Request& request, const char* key, std::size_t otherwise);
std::string textIn(const Request& request, const char* key);  // empty where it isn't given
Json bodyOf(const Request& request);                          // an object
std::optional<std::string> textIn(const Json& body, const char* key);
std::string requiredText(const Json& body, const char* key);

}  // namespace quillmere::studio
