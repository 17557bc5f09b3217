// The server: on 127.0.0.1 and a free port, for those whom admission.h lets in.
//
// It costs whoever is not let in next to nothing to be sent away, and the server too: a connection
// is for one request, has to send its head within a second and may send 1 MiB; sixteen are answered
// at a time, and so many wait; all others wait with the system.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "app/http.h"
#include "platform/status.h"

namespace parvane::app {

class HttpServer {
 public:
  // Called for every request that is let in, on several threads at a time.
  using Handler = std::function<HttpAnswer(const HttpRequest&)>;

  static platform::Result<std::unique_ptr<HttpServer>> Listen(const std::string& secret,
                                                              Handler handler);
  virtual ~HttpServer() = default;

  virtual unsigned port() const = 0;
  // Where the page is. Whoever knows it may do what the person may.
  virtual std::string Address() const = 0;
  // False once it listens no more, for whatever reason.
  virtual bool IsListening() const = 0;
  // Requests that are being answered.
  virtual unsigned Visitors() const = 0;
};

// Whether a server of this program answers at the address, which counts there as a visit.
bool Knock(unsigned port, const std::string& secret);

}  // namespace parvane::app
