#include "event_hub.h"

namespace quillmere::studio {

// As https://html.spec.whatwg.org/multipage/server-sent-events.html has it; JSON on one line needs no splitting.
std::string eventText(const std::string& event, const Json& data) {
  return "event: " + event + "\ndata: " + lineOf(data) + "\n";
}

std::optional<std::string> EventHub::Listener::next(std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, patience, [this] { return closed_ || !waiting_.empty(); });
  if (waiting_.empty()) return closed_ ? std::optional<std::string>() : ": still here\n\n";
  std::string text = std::move(waiting_.front());
  waiting_.pop_front();
  return text;
}

void EventHub::Listener::add(const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (waiting_.size() >= kMostWaiting) {
    waiting_.clear();
    waiting_.push_back(eventText("lost", Json::object()));
  }
  waiting_.push_back(text);
  changed_.notify_one();
}

void EventHub::Listener::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  changed_.notify_one();
}

std::shared_ptr<EventHub::Listener> EventHub::listen() {
  const std::lock_guard lock(mutex_);
  if (closed_ || listeners_.size() >= kMostListeners) return nullptr;
  return *listeners_.insert(std::make_shared<Listener>()).first;
}

void EventHub::leave(const std::shared_ptr<Listener>& listener) {
  const std::lock_guard lock(mutex_);
  listeners_.erase(listener);
  left_.notify_all();
}

void EventHub::tell(const std::string& event, const Json& data) {
  const std::string text = eventText(event, data);
  const std::lock_guard lock(mutex_);
  for (const auto& listener : listeners_) listener->add(text);
}

void EventHub::close() {
  constexpr std::chrono::seconds kMoment{1};
  std::unique_lock lock(mutex_);
  closed_ = true;
  for (const auto& listener : listeners_) listener->close();
  left_.wait_for(lock, kMoment, [this] { return listeners_.empty(); });
}

}  // namespace quillmere::studio
