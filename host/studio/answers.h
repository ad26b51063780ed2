#pragma once

#include <map>
#include <span>
#include <string>

#include "picture_shelf.h"
#include "watch.h"

namespace quillmere::studio {

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

// One line of docs/studio.md's table.
struct Route {
  enum class Method { Get, Post } method;
  const char* path;  // below it stands the subject, where it ends in "/"
  Answer (*answer)(Watch& watch, const Request& request);
};

// All but the stream of events.
std::span<const Route> routes();
// What can't be answered becomes a refusal with its reason.
Answer answerOf(const Route& route, Watch& watch, const Request& request);

// {"error": text}
Answer refused(int status, const std::string& text);

}  // namespace quillmere::studio
