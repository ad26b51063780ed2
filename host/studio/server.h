#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "studio.h"

namespace quillmere::studio {

// The page and its protocol, as docs/studio-protocol.md has it, on 127.0.0.1 and, where there is one, ::1. It answers
// on threads of its own while it lives.
class Server {
 public:
  // `port` 0 takes any that is free. `studio` must outlive the server. Throws Failure when it can't listen or there is
  // no page in `page`.
  Server(Studio& studio, const std::filesystem::path& page, int port);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // What a person opens, with the token that nobody else knows.
  std::string address() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillmere::studio
