#include "access.h"

#include <sys/random.h>

#include <array>
#include <cstdint>
#include <string_view>

#include "base/error.h"

namespace quillmere::studio {
namespace {

constexpr const char* kAdvice = "open the address that 'quillmere studio' has printed";

std::string freshToken() {
  std::array<std::uint8_t, 16> chance{};
  if (::getrandom(chance.data(), chance.size(), 0) != static_cast<ssize_t>(chance.size())) {
    throw Error("the page's token cannot be made: the system has no random numbers");
  }
  std::string token;
  for (const std::uint8_t byte : chance) {
    token += "0123456789abcdef"[byte >> 4U];
    token += "0123456789abcdef"[byte & 15U];
  }
  return token;
}

// In a time that doesn't tell how much is right.
bool same(std::string_view given, std::string_view token) {
  if (given.size() != token.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < token.size(); ++i) {
    difference |= static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(token[i]);
  }
  return difference == 0;
}

// Cookies don't tell ports apart, so that their names must.
std::string cookieName(int port) {
  return "quillmere_studio_" + std::to_string(port);
}

// Whether one of the cookies of that name is the token: another server on this machine may have left one, too, that a
// browser sends first.
bool holdsToken(std::string_view cookies, const std::string& name, std::string_view token) {
  while (!cookies.empty()) {
    const std::size_t end = cookies.find(';');
    std::string_view one = cookies.substr(0, end);
    while (one.starts_with(' ')) one.remove_prefix(1);
    if (one.starts_with(name + "=") && same(one.substr(name.size() + 1), token)) return true;
    cookies.remove_prefix(end == std::string_view::npos ? cookies.size() : end + 1);
  }
  return false;
}

}  // namespace

Access::Access(int port) : port_(port), token_(freshToken()) {}

std::string Access::address() const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/?token=" + token_;
}

std::string Access::cookie() const {
  return cookieName(port_) + "=" + token_ + "; HttpOnly; SameSite=Strict; Path=/";
}

bool Access::isOwnHost(const std::string& name) const {
  for (const char* loopback : {"127.0.0.1", "localhost", "[::1]"}) {
    if (name == loopback + (":" + std::to_string(port_))) return true;
  }
  return false;
}

std::optional<Refusal> Access::foreign(const Caller& caller) const {
  constexpr std::string_view kScheme = "http://";
  if (!isOwnHost(caller.host)) return Refusal{403, std::string("this server has another name; ") + kAdvice};
  const bool ownOrigin = caller.origin.starts_with(kScheme) && isOwnHost(caller.origin.substr(kScheme.size()));
  const bool ownSite = caller.fetchSite.empty() || caller.fetchSite == "same-origin" || caller.fetchSite == "none";
  if ((!caller.origin.empty() && !ownOrigin) || !ownSite) {
    return Refusal{403, std::string("asked by another page; ") + kAdvice};
  }
  return {};
}

std::optional<Refusal> Access::refusalOf(const Caller& caller) const {
  if (auto refusal = foreign(caller)) return refusal;
  if (same(caller.token, token_) || holdsToken(caller.cookies, cookieName(port_), token_)) return {};
  return Refusal{401, std::string("the token is missing or of an earlier run; ") + kAdvice};
}

std::optional<Refusal> Access::refusalOfEntry(const Caller& caller, const std::string& given) const {
  if (auto refusal = foreign(caller)) return refusal;
  if (same(given, token_)) return {};
  return Refusal{401, std::string("the address has the token of an earlier run; ") + kAdvice};
}

}  // namespace quillmere::studio
