// The header fields that tell a message's state, found in one pass over its parsed header.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tessary {
class MimeHeader;
}

namespace parvane::sources {

enum class StateField : std::size_t {
  kMozillaStatus,
  kMozillaStatus2,
  kMozillaKeys,
  kMozillaDraftInfo,
  kStatus,
  kXStatus,
  kXKeywords,
  kXLabel,
  kGmailLabels,
  kImportance,
  kXPriority,
  kXMsMailPriority,
  kPriority,
  kUnsent,
  kReceived,  // looked for only where there is kMozillaDraftInfo
  kMessageId,
};
inline constexpr std::size_t kStateFields = static_cast<std::size_t>(StateField::kMessageId) + 1;

class StateHeaders {
 public:
  // Thunderbird looks for its own fields (X-Mozilla-Status, -Status2, -Keys) only where it puts
  // them itself; what a sender wrote farther down is not its state.
  static constexpr std::size_t kMozillaReach = 512;

  // `header` was read from the beginning of `message`, which must outlive the result.
  StateHeaders(const Tessary::MimeHeader& header, std::string_view message);

  // X-Mozilla-Status is there, wherever it stands.
  bool HasStatusAnywhere() const { return _statusAnywhere; }
  bool Has(StateField field) const { return Raw(field).data() != nullptr; }
  // The first field's value without the blanks around it; folded lines are still apart.
  std::string_view Raw(StateField field) const { return _first[static_cast<std::size_t>(field)]; }
  // The same with its lines joined.
  std::string Unfolded(StateField field) const;
  // Every X-Gmail-Labels, joined lines; a field may come more than once.
  std::vector<std::string> GmailLabels() const;

 private:
  std::array<std::string_view, kStateFields> _first;
  std::vector<std::string_view> _gmailLabels;
  bool _statusAnywhere = false;
};

}  // namespace parvane::sources
