#include "app/admission.h"

#include <array>
#include <cstddef>
#include <utility>

#include "platform/system.h"

namespace parvane::app {
namespace {

constexpr int kForbidden = 403, kNotFound = 404, kWrongMethod = 405, kWrongType = 415;

// In a time that does not tell how much of it is right.
bool BeginsWith(std::string_view path, std::string_view secret) {
  if (path.size() < secret.size()) return false;
  unsigned different = 0;
  for (std::size_t i = 0; i < secret.size(); ++i) {
    different |= static_cast<unsigned char>(path[i]) ^ static_cast<unsigned char>(secret[i]);
  }
  return different == 0;
}

bool IsType(std::string_view contentType, std::string_view type) {
  return contentType.starts_with(type) &&
         (contentType.size() == type.size() || contentType[type.size()] == ';');
}

}  // namespace

Admission::Admission(std::string secret, unsigned port)
    : _host("127.0.0.1:" + std::to_string(port)),
      _origin("http://" + _host),
      _prefix("/" + std::move(secret) + "/") {}

int Admission::Judge(const Visit& visit) const {
  if (visit.host != _host) return kForbidden;
  if (!BeginsWith(visit.path, _prefix)) return kNotFound;
  if (visit.method == "GET") return JudgeGet(visit);
  return visit.method == "POST" ? JudgePost(visit) : kWrongMethod;
}

int Admission::JudgeGet(const Visit& visit) const {
  const std::string_view path = PathBehindSecret(visit.path);
  const bool isPicture = path.starts_with("api/pst/") && visit.fetchDest == "image";
  // "null": of the frame in which a message is shown.
  if (!visit.origin.empty() && visit.origin != _origin && !(isPicture && visit.origin == "null"))
    return kForbidden;
  // Older browsers do not tell for whom they ask; "none": the person typed it.
  const std::string_view site = visit.fetchSite;
  if (site.empty() || site == "same-origin" || site == "none") return 0;
  const bool isPage =
      path.empty() && visit.fetchMode == "navigate" && visit.fetchDest == "document";
  return isPage || isPicture ? 0 : kForbidden;
}

int Admission::JudgePost(const Visit& visit) const {
  if (visit.origin != _origin) return kForbidden;
  if (!visit.fetchSite.empty() && visit.fetchSite != "same-origin") return kForbidden;
  if (IsType(visit.contentType, "application/json")) return 0;
  // What a page sends while it closes.
  const bool isGoodbye = PathBehindSecret(visit.path) == "api/goodbye";
  return isGoodbye && IsType(visit.contentType, "text/plain") ? 0 : kWrongType;
}

std::string_view Admission::PathBehindSecret(std::string_view path) const {
  return path.substr(_prefix.size());
}

std::string MakeSecret() {
  std::array<std::byte, 16> bits;
  platform::FillRandom(bits);
  std::string secret;
  for (const std::byte byte : bits) {
    constexpr const char* kDigits = "0123456789abcdef";
    secret += kDigits[std::to_integer<unsigned>(byte) >> 4];
    secret += kDigits[std::to_integer<unsigned>(byte) & 15];
  }
  return secret;
}

}  // namespace parvane::app
