#include "cli/message_id.h"

#include <cstring>

#include "platform/text.h"

namespace parvane::cli {
namespace {

constexpr std::string_view kField = "message-id";
constexpr std::string_view kLineEnd = "\r\n";
// Longer ones are no names, but damage.
constexpr std::size_t kLongest = 512;

bool IsFirstLetter(char c) { return platform::AsciiToLower(c) == kField.front(); }

bool IsField(std::string_view line) {
  if (!platform::EqualsIgnoreAsciiCase(line.substr(0, kField.size()), kField)) return false;
  const std::size_t colon = line.find_first_not_of(" \t", kField.size());
  return colon != line.npos && line[colon] == ':';
}

// Where the line that begins at `at` has its CR LF, or the end of the message.
std::size_t LineEnd(std::string_view message, std::size_t at) {
  for (std::size_t from = at; from < message.size();) {
    const void* found = std::memchr(message.data() + from, '\n', message.size() - from);
    if (found == nullptr) break;
    const auto lf = static_cast<std::size_t>(static_cast<const char*>(found) - message.data());
    if (lf > at && message[lf - 1] == '\r') return lf - 1;
    from = lf + 1;
  }
  return message.size();
}

std::string Printable(std::string_view text) {
  std::string out(text.substr(0, kLongest));
  std::erase_if(out, [](char c) { return c <= 0x20 || c >= 0x7F; });
  return out;
}

}  // namespace

std::string MessageIdOf(std::string_view message) {
  std::size_t at = 0;
  while (at < message.size() && !message.substr(at).starts_with(kLineEnd)) {
    std::size_t end = IsFirstLetter(message[at]) ? LineEnd(message, at) : at;
    if (IsField(message.substr(at, end - at))) {
      // The value may stand on the next line.
      while (end + 2 < message.size() && (message[end + 2] == ' ' || message[end + 2] == '\t')) {
        end = LineEnd(message, end + 2);
      }
      const std::size_t colon = message.find(':', at);
      return Printable(message.substr(colon + 1, end - colon - 1));
    }
    // On to the next line that begins like the field, or to the end of the header.
    do {
      at = platform::FindLineStart(message, at + 1, kField.front());
    } while (at < message.size() && !message.substr(0, at).ends_with(kLineEnd));
  }
  return {};
}

}  // namespace parvane::cli
