// Who may come in: which requests are the page's own, and not those of another user of this machine
// or of another page in the same browser.
//
// Everything stands under a path that begins with a secret of this start, made new each time:
//
//   http://127.0.0.1:PORT/SECRET/...
//
// Who does not know it gets "404 Not Found" whatever the path is. Beyond that, a page of somebody
// else's must not be able to use a secret that it came by:
//
//   - the Host must be exactly 127.0.0.1:PORT, so that a name which was made to lead to this
//     machine (DNS rebinding) opens nothing;
//   - what changes something is a POST with this server's own Origin and JSON in it, which no form
//     and no script of another site can send;
//   - what a browser says is asked for on behalf of another site is refused, but for the page
//     itself, which the file that starts the browser leads to, and the pictures of a message, whose
//     frame has no origin of its own.
#pragma once

#include <string>
#include <string_view>

namespace parvane::app {

// What of a request decides. Header fields that were not sent are empty.
struct Visit {
  std::string_view method;
  std::string_view path;  // with its percent signs decoded, without the query
  std::string_view host;
  std::string_view origin;
  std::string_view contentType;
  std::string_view fetchSite, fetchMode, fetchDest;  // Sec-Fetch-...
};

class Admission {
 public:
  Admission(std::string secret, unsigned port);

  // 0 when it may come in, otherwise the status of the answer.
  int Judge(const Visit& visit) const;
  // What of an admitted path follows the secret: "" for the page.
  std::string_view PathBehindSecret(std::string_view path) const;
  // "http://127.0.0.1:PORT"
  const std::string& origin() const { return _origin; }
  // The page's own address.
  std::string Address() const { return _origin + _prefix; }

 private:
  int JudgeGet(const Visit& visit) const;
  int JudgePost(const Visit& visit) const;

  std::string _host, _origin;
  std::string _prefix;  // "/SECRET/"
};

// 128 random bits, as text.
std::string MakeSecret();

}  // namespace parvane::app
