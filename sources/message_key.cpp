#include "sources/message_key.h"

#include <algorithm>
#include <array>

#include "platform/sha256.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kRewrittenSeries = "X-Mozilla-";
constexpr std::array<std::string_view, 4> kRewritten = {"Status", "X-Status", "X-UID",
                                                        "X-Keywords"};

bool IsRewritten(std::string_view line) {
  // Nearly every field begins otherwise.
  const char first = platform::AsciiToLower(line.front());
  if (first != 'x' && first != 's') return false;
  std::string_view name = line.substr(0, line.find(':'));
  if (name.size() == line.size()) return false;
  while (name.ends_with(' ') || name.ends_with('\t')) name.remove_suffix(1);
  return platform::StartsWithIgnoreAsciiCase(name, kRewrittenSeries) ||
         std::ranges::any_of(kRewritten, [name](std::string_view one) {
           return platform::EqualsIgnoreAsciiCase(name, one);
         });
}

// Where the line that begins at `at` ends, its line end included.
std::size_t EndOfLine(std::string_view text, std::size_t at) {
  const std::size_t end = text.find('\n', at);
  return end == text.npos ? text.size() : end + 1;
}

bool IsFold(std::string_view text, std::size_t at) {
  return at < text.size() && (text[at] == ' ' || text[at] == '\t');
}

}  // namespace

engine::MessageKey KeyOf(std::string_view message) {
  while (message.ends_with(kLineEnd)) message.remove_suffix(kLineEnd.size());
  thread_local platform::Sha256 hash;
  std::size_t kept = 0;  // from here on nothing has been taken yet
  for (std::size_t at = 0; at < message.size() && !message.substr(at).starts_with(kLineEnd);) {
    std::size_t end = EndOfLine(message, at);
    if (IsRewritten(message.substr(at, end - at))) {
      while (IsFold(message, end)) end = EndOfLine(message, end);
      hash.Update(message.substr(kept, at - kept));
      kept = end;
    }
    at = end;
  }
  hash.Update(message.substr(kept));
  const platform::Sha256Digest digest = hash.Finish();
  engine::MessageKey key;
  std::copy_n(digest.begin(), key.size(), key.begin());
  return key;
}

}  // namespace parvane::sources
