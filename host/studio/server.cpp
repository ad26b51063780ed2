#include "server.h"

#include <sys/socket.h>

#include <array>
#include <list>
#include <thread>

#include "access.h"
#include "answers.h"
#include "base/file_reading.h"
#include "http_server.h"
#include "values/failure.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestPageFile = std::uintmax_t{4} << 20U;
constexpr HttpLimits kLimits;  // the events of each page take one connection
constexpr std::chrono::milliseconds kHeartbeat{2000};
constexpr int kTries = 20;  // numbers that may be free on one address and taken on the other
constexpr const char* kForever = "private, max-age=31536000, immutable";

const httplib::Headers kHeaders{
    {"Content-Security-Policy", "default-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"}};

struct PageFile {
  const char *ending, *type;
};
constexpr std::array kPageFiles{PageFile{".html", "text/html; charset=utf-8"},
                                PageFile{".css", "text/css; charset=utf-8"},
                                PageFile{".js", "text/javascript; charset=utf-8"}, PageFile{".svg", "image/svg+xml"}};

// What is given twice is nothing that is known.
Caller callerOf(const httplib::Request& request) {
  const auto header = [&](const char* name) {
    std::string all = request.get_header_value(name);
    for (std::size_t i = 1; i < request.get_header_value_count(name); ++i) {
      all += "; " + request.get_header_value(name, i);
    }
    return all;
  };
  return {header("Host"), header("Origin"), header("Sec-Fetch-Site"), header("Cookie"), header(kTokenHeader)};
}

// What can't be a request of the protocol, whoever asks; told by its head. None of unknown length is taken, nor one
// that grows when it is unpacked.
std::optional<Refusal> refusalOfForm(const httplib::Request& request) {
  const auto given = [&](const char* name) { return request.get_header_value(name); };
  const std::string length = given("Content-Length");
  const auto bytes = numberIn<std::size_t>(length);
  const bool measured =
      request.get_header_value_count("Content-Length") == 1 && !request.has_header("Transfer-Encoding");
  if (request.method == "GET" || request.method == "HEAD") {
    if (bytes.value_or(length.size()) == 0 && !request.has_header("Transfer-Encoding")) return {};
    return Refusal{400, "nothing can be sent with " + request.method};
  }
  if (request.method != "POST") return Refusal{405, "it can be asked with GET and POST"};
  if (given("Content-Type") != "application/json" || request.has_header("Content-Encoding")) {
    return Refusal{415, "what is sent must be application/json, as it is"};
  }
  if (!measured) return Refusal{411, "what is sent must have one Content-Length"};
  if (!bytes) return Refusal{400, "its Content-Length is no number of bytes"};
  if (*bytes > kLimits.body) return Refusal{413, "at most 4 MiB can be sent"};
  return {};
}

void give(httplib::Response& response, const Answer& answer) {
  response.status = answer.status;
  response.set_header("Cache-Control", answer.stamp.empty() ? "no-store" : kForever);
  response.set_content(answer.content, answer.type);
}

// A second server on the port is refused instead of sharing it.
void setSocketOptions(socket_t socket) {
  const int yes = 1;
  ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

}  // namespace

struct Server::Parts {
  // One address that is listened on.
  struct Door {
    explicit Door(Parts& parts)
        : http(kLimits, parts.connections, [&parts](const auto& request) { return !parts.refusalOf(request); }) {}
    HttpServer http;
    std::thread thread;
  };

  Parts(Studio& shown, const fs::path& pageFolder, int wanted) : studio(shown), page(pageFolder) {
    std::error_code error;
    if (!fs::is_regular_file(page / "index.html", error)) {
      throw app::Failure(app::ExitStatus::Failed, "studio", "the page is missing in '" + page.string() + "'",
                         "install Quillmere again");
    }
    access.emplace(bindAll(wanted));
    for (Door& door : doors) open(door);
  }
  ~Parts() {
    studio.watch.hub().close();
    for (Door& door : doors) {
      door.http.stop();
      if (door.thread.joinable()) door.thread.join();
    }
  }

  // What holds for connections is taken over from the socket that is made here.
  static int bind(Door& door, const char* address, int port) {
    door.http.set_socket_options(setSocketOptions);
    door.http.set_tcp_nodelay(true);
    if (port == 0) return door.http.bind_to_any_port(address);
    return door.http.bind_to_port(address, port) ? port : -1;
  }
  // One number on all addresses of "localhost", so that no other program gets what a person means for this one.
  int bindAll(int wanted) {
    doors.emplace_back(*this);
    for (int i = 0; i < kTries; ++i) {
      const int port = bind(doors.front(), "127.0.0.1", wanted);
      if (port < 0) break;
      if (!hasSixthLoopback() || bind(doors.emplace_back(*this), "::1", port) == port) return port;
      doors.pop_back();
      doors.front().http.unbind();
      if (wanted != 0) break;
    }
    throw app::Failure(app::ExitStatus::Failed, "port " + std::to_string(wanted),
                       "it is in use or may not be used, on 127.0.0.1 or ::1",
                       "give another with --port, or none for any that is free");
  }
  void open(Door& door) {
    HttpServer& http = door.http;
    http.widen();
    http.set_payload_max_length(kLimits.body);
    http.set_default_headers(kHeaders);
    http.set_pre_routing_handler([this](const auto& request, auto& response) { return admit(request, response); });
    addRoutes(http);
    door.thread = std::thread([&http] { http.listen_after_bind(); });
    while (!http.is_running()) std::this_thread::yield();
  }

  using Handled = httplib::Server::HandlerResponse;
  static bool isEntry(const httplib::Request& request) {
    return request.method == "GET" && request.path == "/" && request.has_param("token");
  }
  // Everything but the entry needs the token, so that it is asked for before anything is read.
  std::optional<Refusal> refusalOf(const httplib::Request& request) const {
    const Caller caller = callerOf(request);
    const auto refusal =
        isEntry(request) ? access->refusalOfEntry(caller, request.get_param_value("token")) : access->refusalOf(caller);
    return refusal ? refusal : refusalOfForm(request);
  }
  Handled admit(const httplib::Request& request, httplib::Response& response) const {
    if (const auto refusal = refusalOf(request)) {
      give(response, refused(refusal->status, refusal->text));
      return Handled::Handled;
    }
    if (!isEntry(request)) return Handled::Unhandled;
    response.set_header("Set-Cookie", access->cookie());
    response.set_redirect("/", 303);
    return Handled::Handled;
  }

  void addRoute(httplib::Server& http, const Route& route) {
    const std::string path = route.path;
    const std::string pattern = path.back() == '/' ? path + "([-0-9a-f]{1,20})" : path;
    const auto handler = [this, &route](const httplib::Request& request, httplib::Response& response) {
      Request asked{{request.params.begin(), request.params.end()}, {}, request.body};
      if (request.matches.size() > 1) asked.subject = request.matches[1];
      give(response, answerOf(route, studio, asked));
    };
    route.method == Route::Method::Get ? http.Get(pattern, handler) : http.Post(pattern, handler);
  }
  void addRoutes(httplib::Server& http) {
    for (const std::span<const Route> table : routes()) {
      for (const Route& route : table) addRoute(http, route);
    }
    http.Get("/api/events", [this](const httplib::Request&, httplib::Response& response) { stream(response); });
    http.Get("/([a-z_]*(?:\\.[a-z]+)?)", [this](const httplib::Request& request, httplib::Response& response) {
      givePage(request.matches[1].length() == 0 ? "index.html" : request.matches[1].str(), response);
    });
    http.set_error_handler([](const httplib::Request&, httplib::Response& response) {
      response.headers.erase("EXCEPTION_WHAT");
      const char* why = response.status == 404 ? "there is nothing of that name" : "the request can't be answered";
      if (response.body.empty()) give(response, refused(response.status, why));
    });
  }

  void givePage(const std::string& name, httplib::Response& response) const {
    for (const PageFile& known : kPageFiles) {
      std::error_code error;
      if (!name.ends_with(known.ending) || !fs::is_regular_file(page / name, error)) continue;
      response.set_header("Cache-Control", "no-cache");
      response.set_content(readText(page / name, kLargestPageFile), known.type);
      return;
    }
    give(response, refused(404, "the page has no '" + name + "'"));
  }

  // Who listens is told the state first, in which nothing is missing of what was told before.
  void stream(httplib::Response& response) {
    const auto listener = studio.watch.hub().listen();
    if (!listener) return give(response, refused(503, "too many pages are open; close one"));
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider(
        "text/event-stream",
        [this, listener, begun = false](std::size_t /*offset*/, httplib::DataSink& sink) mutable {
          const auto text = begun ? listener->next(kHeartbeat) : eventText("state", studio.watch.state());
          begun = true;
          if (text) return sink.write(text->data(), text->size());
          sink.done();
          return true;
        },
        [this, listener](bool /*success*/) { studio.watch.hub().leave(listener); });
  }

  Studio& studio;
  fs::path page;
  std::optional<Access> access;
  Connections connections{kLimits.connections};
  std::list<Door> doors;
};

Server::Server(Studio& studio, const fs::path& page, int port) : parts_(std::make_unique<Parts>(studio, page, port)) {}

Server::~Server() = default;

std::string Server::address() const {
  return parts_->access->address();
}

}  // namespace quillmere::studio
