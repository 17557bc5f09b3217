#include "app/http_server.h"

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <semaphore>
#include <span>
#include <thread>
#include <utility>

#define CPPHTTPLIB_LISTEN_BACKLOG 4096
// What app/head_filter.h leaves has short lines.
#define CPPHTTPLIB_HEADER_MAX_LENGTH 2048
#include <httplib.h>

#include "app/admission.h"
#include "app/head_filter.h"
#include "platform/socket.h"
#include "platform/time.h"

namespace parvane::app {
namespace {

using platform::MonotonicMilliseconds;
using platform::Status;
using platform::StatusCode;

constexpr std::size_t kThreads = 16, kWaiting = 16;
constexpr std::uint64_t kMostBytes = (1 << 20) + (64 << 10);  // a body, and a head
constexpr std::uint64_t kHeadTime = 1'000, kRequestTime = 20'000,
                        kWriteTime = 10'000;  // milliseconds
constexpr std::uint64_t kSlice = 100;         // after which the server's end is looked for
constexpr std::size_t kLongestPath = 4096;

// Of every answer. Pages load what is their own and nothing else; nobody may frame them, keep them,
// or take them for something else.
const httplib::Headers kHeaders = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src "
     "'self'; "
     "frame-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cache-Control", "no-store"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"}};

// One connection, which gives so many bytes, and in so much time.
class GuardedStream final : public httplib::Stream {
 public:
  GuardedStream(socket_t socket, const std::atomic<bool>& ends)
      : _socket(socket), _ends(ends), _deadline(MonotonicMilliseconds() + kHeadTime) {}

  // The head is there: the body may take longer.
  void AllowBody() { _deadline = std::max(_deadline, MonotonicMilliseconds() + kRequestTime); }
  // Takes what was sent and not asked for: a socket closed over it would take the answer back.
  void Drain() {
    while (_left > 0 && httplib::detail::select_read(_socket, 0, 0) > 0 && Fill()) continue;
  }

  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }
  ssize_t read(char* to, std::size_t size) override {
    while (_next == _passed.size()) {
      if (!WaitToRead() || !Fill()) return -1;
    }
    const std::size_t taken = _passed.copy(to, size, _next);
    _next += taken;
    return static_cast<ssize_t>(taken);
  }
  ssize_t write(const char* from, std::size_t size) override {
    const std::uint64_t deadline = MonotonicMilliseconds() + kWriteTime;
    while (!_ends && MonotonicMilliseconds() < deadline) {
      const ssize_t ready = httplib::detail::select_write(_socket, 0, kSlice * 1000);
      if (ready < 0) return -1;
      if (ready > 0)
        return httplib::detail::send_socket(_socket, from, std::min(size, kMostAtOnce), kSendFlags);
    }
    return -1;
  }
  void get_remote_ip_and_port(std::string&, int&) const override {}
  void get_local_ip_and_port(std::string&, int&) const override {}
  socket_t socket() const override { return _socket; }

 private:
  static constexpr std::size_t kMostAtOnce = 1 << 16;
  static constexpr int kSendFlags = CPPHTTPLIB_SEND_FLAGS;

  bool WaitToRead() {
    while (!_ends && MonotonicMilliseconds() < _deadline) {
      const ssize_t ready = httplib::detail::select_read(_socket, 0, kSlice * 1000);
      if (ready != 0) return ready > 0;
    }
    return false;
  }
  bool Fill() {
    const auto room = static_cast<std::size_t>(std::min<std::uint64_t>(_buffer.size(), _left));
    if (room == 0) return false;
    const ssize_t count =
        httplib::detail::read_socket(_socket, _buffer.data(), room, CPPHTTPLIB_RECV_FLAGS);
    if (count <= 0) return false;
    _left -= static_cast<std::size_t>(count);
    _passed.clear();
    _next = 0;
    _filter.Take({_buffer.data(), static_cast<std::size_t>(count)}, _passed);
    return true;
  }

  socket_t _socket;
  const std::atomic<bool>& _ends;
  std::uint64_t _deadline;
  std::uint64_t _left = kMostBytes;
  std::array<char, 4096> _buffer;
  HeadFilter _filter;
  std::string _passed;  // by the filter, of which the library has taken all before _next
  std::size_t _next = 0;
};

// The library's threads, with an end to what waits for them.
class BoundedThreads final : public httplib::TaskQueue {
 public:
  // Nothing; or true, to later versions of the library.
  using Taken = decltype(std::declval<httplib::TaskQueue&>().enqueue(nullptr));

  Taken enqueue(std::function<void()> task) override {
    _room.acquire();
    _threads.enqueue([this, task = std::move(task)] {
      task();
      _room.release();
    });
    return Taken(true);
  }
  void shutdown() override { _threads.shutdown(); }

 private:
  std::counting_semaphore<> _room{kThreads + kWaiting};
  httplib::ThreadPool _threads{kThreads};
};

class Server final : public HttpServer, private httplib::Server {
 public:
  explicit Server(HttpServer::Handler handler) : _handler(std::move(handler)) {
    new_task_queue = [] { return new BoundedThreads; };
    set_socket_options(
        [](socket_t socket) { platform::KeepPortFromOthers(static_cast<std::uintptr_t>(socket)); });
    set_payload_max_length(1 << 20);
    set_default_headers(kHeaders);
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
      return Receive(request, response);
    });
    const auto answer = [this](const httplib::Request& request, httplib::Response& response) {
      Answer(request, response);
    };
    Get(".*", answer);
    Post(".*", answer);
    set_exception_handler([](const httplib::Request&, httplib::Response& response,
                             std::exception_ptr) { response.status = 500; });
  }
  ~Server() override {
    _ends = true;
    // It cannot be stopped before it has begun.
    while (_listens && !is_running()) std::this_thread::yield();
    stop();
    if (_thread.joinable()) _thread.join();
  }

  Status Begin(const std::string& secret) {
    const int port = bind_to_any_port("127.0.0.1");
    if (port <= 0) return Status(StatusCode::kIoError, "no port of 127.0.0.1 can be listened on");
    _port = static_cast<unsigned>(port);
    _admission.emplace(secret, _port);
    _listens = true;
    _thread = std::thread([this] {
      listen_after_bind();
      _listens = false;
    });
    return {};
  }

  unsigned port() const override { return _port; }
  std::string Address() const override { return _admission->Address(); }
  bool IsListening() const override { return _listens; }
  unsigned Visitors() const override { return _visitors; }

 private:
  // As the version of the library has it; later ones want to be told of both ends.
  template <typename Self, typename Admit>
  static bool Process(Self& self, httplib::Stream& stream, bool& closed, const Admit& admit) {
    if constexpr (requires { self.process_request(stream, true, closed, admit); }) {
      return self.process_request(stream, true, closed, admit);
    } else {
      const std::string here = "127.0.0.1";
      return self.process_request(stream, here, 0, here, 0, true, closed, admit);
    }
  }

  bool process_and_close_socket(socket_t socket) override {
    GuardedStream stream(socket, _ends);
    bool closed = true;
    const auto admit = [&stream](httplib::Request& request) {
      request.ranges.clear();  // answers are whole
      stream.AllowBody();
    };
    const bool done = !_ends && Process(*this, stream, closed, admit);
    stream.Drain();
    httplib::detail::shutdown_socket(socket);
    httplib::detail::close_socket(socket);
    return done;
  }

  HandlerResponse Receive(const httplib::Request& request, httplib::Response& response) {
    const auto field = [&](const char* name) {
      // What is said twice is said by nobody honest.
      return request.get_header_value_count(name) > 1 ? "?" : request.get_header_value(name);
    };
    const std::string host = field("Host"), origin = field("Origin"), type = field("Content-Type"),
                      site = field("Sec-Fetch-Site"), mode = field("Sec-Fetch-Mode"),
                      destination = field("Sec-Fetch-Dest");
    const int refusal = request.path.size() > kLongestPath
                            ? 404
                            : _admission->Judge({request.method, request.path, host, origin, type,
                                                 site, mode, destination});
    if (refusal == 0) {
      return HandlerResponse::Unhandled;
    }
    response.status = refusal;
    return HandlerResponse::Handled;
  }

  void Answer(const httplib::Request& request, httplib::Response& response) {
    ++_visitors;
    HttpRequest own;
    own.method = request.method;
    own.path = _admission->PathBehindSecret(request.path);
    for (const auto& [name, value] : request.params) own.query.emplace(name, value);
    own.body = request.body;
    own.origin = _admission->origin();
    own.address = _admission->Address();
    HttpAnswer answer{500, "text/plain", {}};
    try {
      answer = _handler(own);
    } catch (const std::exception&) {
      // Said by the status.
    }
    response.status = answer.status;
    for (const auto& [name, value] : answer.headers) {
      response.headers.erase(name);
      response.set_header(name, value);
    }
    response.set_content(std::move(answer.body), answer.type);
    --_visitors;
  }

  HttpServer::Handler _handler;
  std::optional<Admission> _admission;
  std::thread _thread;
  unsigned _port = 0;
  std::atomic<bool> _ends{false}, _listens{false};
  std::atomic<unsigned> _visitors{0};
};

}  // namespace

platform::Result<std::unique_ptr<HttpServer>> HttpServer::Listen(const std::string& secret,
                                                                 Handler handler) {
  auto server = std::make_unique<Server>(std::move(handler));
  if (Status begun = server->Begin(secret); !begun.ok()) return begun;
  return std::unique_ptr<HttpServer>(std::move(server));
}

bool Knock(unsigned port, const std::string& secret) {
  httplib::Client client("127.0.0.1", static_cast<int>(port));
  client.set_connection_timeout(2);
  client.set_read_timeout(2);
  const auto answer = client.Get(("/" + secret + "/api/knock").c_str());
  return answer && answer->status == 200;
}

}  // namespace parvane::app
