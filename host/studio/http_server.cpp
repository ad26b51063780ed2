#include "http_server.h"

#include <netinet/in.h>
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
constexpr int kWaiting = 128;             // connections that nobody has taken yet
constexpr std::string_view kFull =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Type: application/json\r\nX-Content-Type-Options: nosniff\r\n"
    "Connection: close\r\nContent-Length: 54\r\n\r\n"
    "{\"error\":\"too many connections; close a page of this\"}";

bool ready(socket_t socket, short what, Milliseconds patience) {
  pollfd wait{socket, what, 0};
  return ::poll(&wait, 1, static_cast<int>(std::max<Milliseconds::rep>(patience.count(), 0))) > 0;
}

// A connection's way in and out.
class LimitedStream : public httplib::Stream {
 public:
  LimitedStream(socket_t socket, const HttpLimits& limits) : socket_(socket), limits_(limits) {}

  void beginRequest() {
    end_ = Clock::now() + limits_.request;
    left_ = limits_.head;
  }
  void allowBody() { left_ += limits_.body; }
  // Something that has come was not yet read.
  bool holdsMore() const { return next_ < filled_; }

  bool is_readable() const override { return holdsMore() || ready(socket_, POLLIN, limits_.pause); }
  bool is_writable() const override { return ready(socket_, POLLOUT, limits_.write) && !hasLeft(); }

  ssize_t read(char* into, size_t size) override {
    if (left_ == 0 || (!holdsMore() && !fill())) return -1;
    const std::size_t count = std::min({size, filled_ - next_, left_});
    std::copy_n(block_.begin() + static_cast<std::ptrdiff_t>(next_), count, into);
    next_ += count;
    left_ -= count;
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
  bool hasLeft() const {
    char byte = 0;
    return ready(socket_, POLLIN, Milliseconds(0)) && ::recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
  }

  socket_t socket_;
  const HttpLimits& limits_;
  Clock::time_point end_;
  std::array<char, 16384> block_;
  std::size_t next_ = 0, filled_ = 0;  // of the block
  std::size_t left_ = 0;               // bytes that the request may still have
};

// What has come is taken, so that closing doesn't take back the answer; for a moment, whoever goes on sending.
void takeRest(socket_t socket) {
  constexpr Milliseconds kMoment{100}, kLongest{500};
  const auto end = Clock::now() + kLongest;
  ::shutdown(socket, SHUT_WR);
  std::array<char, 16384> block;
  while (Clock::now() < end && ready(socket, POLLIN, kMoment) &&
         ::recv(socket, block.data(), block.size(), MSG_DONTWAIT) > 0) {
  }
}

}  // namespace

HttpServer::HttpServer(const HttpLimits& limits, Connections& connections, Admits admits)
    : limits_(limits), connections_(connections), admits_(std::move(admits)) {
  new_task_queue = [this] { return new httplib::ThreadPool(limits_.connections + kSpareThreads); };
}

void HttpServer::widen() {
  ::listen(svr_sock_, kWaiting);
}

void HttpServer::unbind() {
  ::close(svr_sock_.exchange(INVALID_SOCKET));
}

bool HttpServer::hasRequest(socket_t socket) const {
  const auto end = Clock::now() + limits_.pause;
  while (svr_sock_ != INVALID_SOCKET && Clock::now() < end) {
    if (ready(socket, POLLIN, kLook)) return true;
  }
  return false;
}

void HttpServer::answer(socket_t socket) {
  LimitedStream stream(socket, limits_);
  bool admitted = false;
  const auto judge = [&](httplib::Request& request) {
    admitted = admits_(request);
    request.ranges.clear();  // one picture could be asked for a thousand times over
    if (admitted) {
      connections_.trust(socket);
      stream.allowBody();
    } else {
      request.headers.erase("Connection");
      request.set_header("Connection", "close");
    }
  };
  for (bool closed = false; !closed && (stream.holdsMore() || hasRequest(socket));) {
    stream.beginRequest();
    admitted = false;
    if (!process_request(stream, false, closed, judge) || !admitted) return;
  }
}

bool HttpServer::process_and_close_socket(socket_t socket) {
  if (connections_.enter(socket)) {
    answer(socket);
  } else {
    ::send(socket, kFull.data(), kFull.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  }
  takeRest(socket);
  connections_.leave(socket);
  ::close(socket);
  return true;
}

bool hasSixthLoopback() {
  const int socket = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return false;
  sockaddr_in6 place{};
  place.sin6_family = AF_INET6;
  place.sin6_addr = in6addr_loopback;
  const bool has = ::bind(socket, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
  ::close(socket);
  return has;
}

}  // namespace quillmere::studio
