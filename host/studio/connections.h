#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

namespace quillmere::studio {

// The connections that are open now, of all addresses that a program listens on. Where they are too many, the oldest of
// those that have not yet shown that they may ask gives way: who opens many without the token keeps nobody else out.
// Any thread.
class Connections {
 public:
  explicit Connections(std::size_t most) : most_(most) {}

  // Counts `socket`, which leave() must come for before it is closed. False when all of the others may ask.
  bool enter(int socket);
  // `socket` may ask: from now on it gives way to none.
  void trust(int socket);
  void leave(int socket);

 private:
  struct Connection {
    int socket;
    bool trusted;
  };
  using Place = std::vector<Connection>::iterator;
  Place find(int socket);

  std::size_t most_;
  std::mutex mutex_;              // guards all below
  std::vector<Connection> open_;  // oldest first
};

}  // namespace quillmere::studio
