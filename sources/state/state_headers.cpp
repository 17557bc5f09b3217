#include "sources/state/state_headers.h"

#include <algorithm>
#include <optional>

#include "platform/simd/scan.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

struct Name {
  std::string_view name;
  StateField field;
};

constexpr Name kNames[] = {
    {"x-mozilla-status", StateField::kMozillaStatus},
    {"x-mozilla-status2", StateField::kMozillaStatus2},
    {"x-mozilla-keys", StateField::kMozillaKeys},
    {"x-mozilla-draft-info", StateField::kMozillaDraftInfo},
    {"status", StateField::kStatus},
    {"x-status", StateField::kXStatus},
    {"x-keywords", StateField::kXKeywords},
    {"x-label", StateField::kXLabel},
    {"x-gmail-labels", StateField::kGmailLabels},
    {"importance", StateField::kImportance},
    {"x-priority", StateField::kXPriority},
    {"x-msmail-priority", StateField::kXMsMailPriority},
    {"priority", StateField::kPriority},
    {"received", StateField::kReceived},
    {"message-id", StateField::kMessageId},
};
constexpr std::size_t kLongestName = std::string_view("x-mozilla-draft-info").size();
// More than anybody writes.
constexpr std::size_t kMostLabelFields = 64;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// `first` is the line's first character in lower case.
std::optional<StateField> FieldOf(std::string_view line, char first) {
  std::size_t length = line.substr(0, kLongestName + 2).find(':');
  if (length == line.npos) return {};
  while (length > 0 && IsBlank(line[length - 1])) --length;
  const std::string_view name = line.substr(0, length);
  for (const Name& known : kNames) {
    // Most names are told apart by their length and first letter.
    if (known.name.size() == length && known.name.front() == first &&
        platform::EqualsIgnoreAsciiCase(known.name, name)) {
      return known.field;
    }
  }
  return {};
}

bool MayBegin(char first) {
  return first == 'x' || first == 's' || first == 'r' || first == 'p' || first == 'i' ||
         first == 'm';
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && platform::IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && platform::IsAsciiWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

bool IsOfThunderbirdAlone(StateField field) {
  return field == StateField::kMozillaStatus || field == StateField::kMozillaStatus2 ||
         field == StateField::kMozillaKeys;
}

std::string Unfold(std::string_view raw) {
  std::string text(raw);
  std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
  return text;
}

}  // namespace

StateHeaders::StateHeaders(std::string_view message) {
  platform::simd::LineFeeds lineFeeds(message.data(), message.size());
  const auto nextLine = [&] { return std::min(lineFeeds.Next() + 1, message.size()); };
  for (std::size_t at = 0, next = 0; at < message.size(); at = next) {
    if (message[at] == '\n' || (message[at] == '\r' && message.substr(at, 2) == "\r\n")) return;
    next = nextLine();
    const char first = platform::AsciiToLower(message[at]);
    if (!MayBegin(first)) continue;
    const auto field = FieldOf(message.substr(at, next - at), first);
    if (!field) continue;
    if (*field == StateField::kMozillaStatus) _statusAnywhere = true;
    if (IsOfThunderbirdAlone(*field) && at >= kMozillaReach) continue;
    while (next < message.size() && IsBlank(message[next])) next = nextLine();
    const std::size_t colon = message.find(':', at);
    const std::string_view value = Trimmed(message.substr(colon + 1, next - colon - 1));
    std::string_view& known = _first[static_cast<std::size_t>(*field)];
    if (known.data() == nullptr) known = value;
    if (*field == StateField::kGmailLabels && _gmailLabels.size() < kMostLabelFields) {
      _gmailLabels.push_back(value);
    }
  }
}

std::string StateHeaders::Unfolded(StateField field) const { return Unfold(Raw(field)); }

std::vector<std::string> StateHeaders::GmailLabels() const {
  std::vector<std::string> labels;
  for (const std::string_view raw : _gmailLabels) labels.push_back(Unfold(raw));
  return labels;
}

}  // namespace parvane::sources
