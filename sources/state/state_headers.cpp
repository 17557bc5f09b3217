#include "sources/state/state_headers.h"

#include "mime/mime_header.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

// In the order of StateField, but for the last two, which nearly every message has.
constexpr std::array<std::string_view, kStateFields - 2> kNames = {
    "X-Mozilla-Status", "X-Mozilla-Status2", "X-Mozilla-Keys", "X-Mozilla-Draft-Info",
    "Status",           "X-Status",          "X-Keywords",     "X-Label",
    "X-Gmail-Labels",   "Importance",        "X-Priority",     "X-MSMail-Priority",
    "Priority",         "X-Unsent"};
// More than anybody writes.
constexpr std::size_t kMostLabelFields = 64;

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

StateHeaders::StateHeaders(const Tessary::MimeHeader& header, std::string_view message) {
  header.ForEach(kNames, [&](std::size_t place, const Tessary::MimeField& line) {
    const auto field = static_cast<StateField>(place);
    const auto at = static_cast<std::size_t>(line.Raw().data() - message.data());
    if (field == StateField::kMozillaStatus) _statusAnywhere = true;
    if (IsOfThunderbirdAlone(field) && at >= kMozillaReach) return;
    std::string_view& first = _first[place];
    if (first.data() != nullptr && field != StateField::kGmailLabels) return;
    const std::string_view value = Trimmed(line.RawValue());
    if (first.data() == nullptr) first = value;
    if (field == StateField::kGmailLabels && _gmailLabels.size() < kMostLabelFields) {
      _gmailLabels.push_back(value);
    }
  });
  const auto find = [&](StateField field, std::string_view name) {
    const Tessary::MimeField* line = header.Find(name);
    if (line != nullptr) _first[static_cast<std::size_t>(field)] = Trimmed(line->RawValue());
  };
  find(StateField::kMessageId, "Message-ID");
  if (Has(StateField::kMozillaDraftInfo)) find(StateField::kReceived, "Received");
}

std::string StateHeaders::Unfolded(StateField field) const { return Unfold(Raw(field)); }

std::vector<std::string> StateHeaders::GmailLabels() const {
  std::vector<std::string> labels;
  for (const std::string_view raw : _gmailLabels) labels.push_back(Unfold(raw));
  return labels;
}

}  // namespace parvane::sources
