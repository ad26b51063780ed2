#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <functional>

namespace quillmere::studio {

// How long who asks may take, and how many may ask.
struct HttpLimits {
  std::chrono::milliseconds pause{5000};      // without a byte of a request, or before the next request
  std::chrono::milliseconds request{15'000};  // from a request's first byte to its last
  std::chrono::milliseconds write{10'000};    // until something more of the answer is taken
  std::size_t connections = 40;               // at a time; of both addresses
};

// The library's server limits only the time between two bytes, so that one who sends a byte every few seconds holds a
// thread for ever, and lets connections beyond its threads wait. This one drops the former and refuses the latter with
// status 503. Written for the library's versions 0.10 to 0.12.
class HttpServer : public httplib::Server {
 public:
  // `open` counts the connections of all servers of the program; both must outlive it.
  HttpServer(const HttpLimits& limits, std::atomic<std::size_t>& open);

 private:
  bool process_and_close_socket(socket_t socket) override;
  void answer(socket_t socket);
  bool hasRequest(socket_t socket) const;

  const HttpLimits& limits_;
  std::atomic<std::size_t>& open_;
};

}  // namespace quillmere::studio
