#include "connections.h"

#include <sys/socket.h>

#include <algorithm>

namespace quillmere::studio {

Connections::Place Connections::find(int socket) {
  return std::find_if(open_.begin(), open_.end(), [&](const Connection& one) { return one.socket == socket; });
}

bool Connections::enter(int socket) {
  const std::lock_guard lock(mutex_);
  if (open_.size() >= most_) {
    const auto oldest = std::find_if(open_.begin(), open_.end(), [](const Connection& one) { return !one.trusted; });
    if (oldest == open_.end()) return false;
    ::shutdown(oldest->socket, SHUT_RDWR);  // its own thread sees that, and closes it
    open_.erase(oldest);
  }
  open_.push_back({socket, false});
  return true;
}

void Connections::trust(int socket) {
  const std::lock_guard lock(mutex_);
  if (const Place place = find(socket); place != open_.end()) place->trusted = true;
}

void Connections::leave(int socket) {
  const std::lock_guard lock(mutex_);
  if (const Place place = find(socket); place != open_.end()) open_.erase(place);
}

}  // namespace quillmere::studio
