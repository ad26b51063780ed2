#include "http_server.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

namespace quillmere::studio {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr std::size_t kSpareThreads = 4;  // that refuse, while the others answer
constexpr Milliseconds kLook{50};         // how often the server's end is looked for
constexpr std::string_view kFull =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: "
    "54\r\n\r\n"
    "{\"error\":\"too many connections; close a page of this\"}";

bool ready(socket_t socket, short what, Milliseconds patience) {
  pollfd wait{socket, what, 0};
  return ::poll(&wait, 1, static_cast<int>(std::max<Milliseconds::rep>(patience.count(), 0))) > 0;
}

// One request's way in and out.
class LimitedStream : public httplib::Stream {
 public:
  LimitedStream(socket_t socket, const HttpLimits& limits)
      : socket_(socket), limits_(limits), end_(Clock::now() + limits.request) {}

  bool is_readable() const override { return next_ < filled_ || ready(socket_, POLLIN, limits_.pause); }
  bool is_writable() const override { return ready(socket_, POLLOUT, limits_.write) && !left(); }

  ssize_t read(char* into, size_t size) override {
    if (next_ == filled_ && !fill()) return -1;
    const std::size_t count = std::min(size, filled_ - next_);
    std::copy_n(block_.begin() + static_cast<std::ptrdiff_t>(next_), count, into);
    next_ += count;
    return static_cast<ssize_t>(count);
  }
  ssize_t write(const char* from, size_t size) override {
    if (!ready(socket_, POLLOUT, limits_.write)) return -1;
    return ::send(socket_, from, size, MSG_NOSIGNAL | MSG_DONTWAIT);
  }

  // Nobody asks who it is: there is only this machine.
  void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
  socket_t socket() const override { return socket_; }

 private:
  bool fill() {
    const auto rest = std::chrono::duration_cast<Milliseconds>(end_ - Clock::now());
    if (rest.count() <= 0 || !ready(socket_, POLLIN, std::min(rest, limits_.pause))) return false;
    const ssize_t count = ::recv(socket_, block_.data(), block_.size(), 0);
    next_ = 0;
    filled_ = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return count > 0;
  }
  // The other side has closed.
  bool left() const {
    char byte = 0;
    return ready(socket_, POLLIN, Milliseconds(0)) && ::recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
  }

  socket_t socket_;
  const HttpLimits& limits_;
  Clock::time_point end_;
  std::array<char, 16384> block_;
  std::size_t next_ = 0, filled_ = 0;  // of the block
};

// What has come is taken, so that closing doesn't take back the answer.
void refuse(socket_t socket) {
  constexpr Milliseconds kMoment{100};
  ::send(socket, kFull.data(), kFull.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  ::shutdown(socket, SHUT_WR);
  std::array<char, 4096> block;
  while (ready(socket, POLLIN, kMoment) && ::recv(socket, block.data(), block.size(), MSG_DONTWAIT) > 0) {
  }
}

}  // namespace

HttpServer::HttpServer(const HttpLimits& limits, std::atomic<std::size_t>& open) : limits_(limits), open_(open) {
  new_task_queue = [this] { return new httplib::ThreadPool(limits_.connections + kSpareThreads); };
}

bool HttpServer::hasRequest(socket_t socket) const {
  const auto end = Clock::now() + limits_.pause;
  while (svr_sock_ != INVALID_SOCKET && Clock::now() < end) {
    if (ready(socket, POLLIN, kLook)) return true;
  }
  return false;
}

void HttpServer::answer(socket_t socket) {
  for (bool closed = false; !closed && hasRequest(socket);) {
    LimitedStream stream(socket, limits_);
    if (!process_request(stream, false, closed, nullptr)) return;
  }
}

bool HttpServer::process_and_close_socket(socket_t socket) {
  if (++open_ > limits_.connections) {
    refuse(socket);
  } else {
    answer(socket);
  }
  --open_;
  ::shutdown(socket, SHUT_RDWR);
  ::close(socket);
  return true;
}

}  // namespace quillmere::studio
