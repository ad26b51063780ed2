#pragma once

#include <httplib.h>

#include <chrono>
#include <functional>

#include "connections.h"

namespace quillmere::studio {

// How long who asks may take, and how much and how many may ask.
struct HttpLimits {
  std::chrono::milliseconds pause{5000};      // without a byte of a request, or before the next request
  std::chrono::milliseconds request{15'000};  // from a request's first byte to its last
  std::chrono::milliseconds write{10'000};    // until something more of the answer is taken
  std::size_t head = std::size_t{64} << 10U;  // bytes of a request's first line and headers
  std::size_t body = std::size_t{4} << 20U;   // bytes
  std::size_t connections = 40;               // at a time; of both addresses
};

// The library's server limits only the time between two bytes, so that one who sends a byte every few seconds holds a
// thread for ever; it keeps heads and bodies of any length in memory, and lets connections beyond its threads wait.
// This one drops those, and refuses what is too many with status 503. Written for the library's versions 0.10 to 0.12.
class HttpServer : public httplib::Server {
 public:
  // Whether a request, of which the head was read, is answered with more than why it isn't. Otherwise nothing is read
  // behind it and its connection ends.
  using Admits = std::function<bool(const httplib::Request&)>;

  // All must outlive it.
  HttpServer(const HttpLimits& limits, Connections& connections, Admits admits);

  // Between binding and listening: lets more wait to be taken than the library does.
  void widen();
  // Instead of listening: what was bound is free again.
  void unbind();

 private:
  bool process_and_close_socket(socket_t socket) override;
  void answer(socket_t socket);
  bool hasRequest(socket_t socket) const;

  const HttpLimits& limits_;
  Connections& connections_;
  Admits admits_;
};

// Whether this machine has a loopback of version 6 of the protocol.
bool hasSixthLoopback();

}  // namespace quillmere::studio
