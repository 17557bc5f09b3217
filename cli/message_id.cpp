#include "cli/message_id.h"

#include "platform/text.h"

namespace parvane::cli {
namespace {

constexpr std::string_view kField = "message-id";
constexpr std::string_view kLineEnd = "\r\n";
// Longer ones are no names, but damage.
constexpr std::size_t kLongest = 512;

bool IsField(std::string_view line) {
  if (line.empty() || platform::AsciiToLower(line.front()) != kField.front()) return false;
  if (!platform::EqualsIgnoreAsciiCase(line.substr(0, kField.size()), kField)) return false;
  const std::size_t colon = line.find_first_not_of(" \t", kField.size());
  return colon != line.npos && line[colon] == ':';
}

std::string Printable(std::string_view text) {
  std::string out;
  for (const char c : text.substr(0, kLongest)) {
    if (c > 0x20 && c < 0x7F) out += c;
  }
  return out;
}

}  // namespace

std::string MessageIdOf(std::string_view message) {
  for (std::size_t at = 0; at < message.size();) {
    std::size_t end = message.find(kLineEnd, at);
    if (end == at) return {};
    if (end == message.npos) end = message.size();
    if (IsField(message.substr(at, end - at))) {
      // The value may stand on the next line.
      while (end + 2 < message.size() && (message[end + 2] == ' ' || message[end + 2] == '\t')) {
        end = message.find(kLineEnd, end + 2);
        if (end == message.npos) end = message.size();
      }
      const std::size_t colon = message.find(':', at);
      return Printable(message.substr(colon + 1, end - colon - 1));
    }
    at = end + kLineEnd.size();
  }
  return {};
}

}  // namespace parvane::cli
