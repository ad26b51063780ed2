#pragma once

#include <optional>
#include <string>

namespace quillmere::studio {

// What a request says of where it comes from; empty where it has no such header.
struct Caller {
  std::string host, origin, fetchSite, cookies, token;  // the last is the header of programs, kTokenHeader
};

// An HTTP status and what it says.
struct Refusal {
  int status;
  std::string text;
};

inline constexpr const char* kTokenHeader = "X-Quillmere-Token";

// Who may ask a server on this machine's loopback: a browser that was opened with the printed address, and programs
// that were told its token. Names that lead here from elsewhere (DNS rebinding) and the pages of others are refused.
class Access {
 public:
  // `port` is where the server listens. The token is made anew, 128 bits of chance. Throws Error without any.
  explicit Access(int port);

  const std::string& token() const { return token_; }
  // What a person opens.
  std::string address() const;
  // The header that keeps the token in a browser, out of reach of scripts.
  std::string cookie() const;

  // Why a request that must have the token isn't answered; none when it is.
  std::optional<Refusal> refusalOf(const Caller& caller) const;
  // The same for the address itself, which brings the token along.
  std::optional<Refusal> refusalOfEntry(const Caller& caller, const std::string& given) const;

 private:
  std::optional<Refusal> foreign(const Caller& caller) const;
  bool isOwnHost(const std::string& name) const;

  int port_;
  std::string token_;
};

}  // namespace quillmere::studio
