// What repair found out about a header while it rewrote it, so that nobody need read it out of the
// new text once more.
//
// The facts belong to the entity (MimeMessage2::facts) and hold for its header as it stands: they
// come with the rewritten fields, and go as soon as anyone changes the header again. They never say
// anything else than reading the header would, only sooner; what they do not know, and what they
// cannot for an entity that nobody repaired or that was parsed from its text, is read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mime/date_parser.h"
#include "mime/mailbox.h"
#include "platform/pooled_object.h"
#include "platform/recycled_vector.h"

namespace Tessary {

// The fields whose mailboxes are asked for one by one.
enum class AddressField : std::uint8_t { kFrom, kTo, kCc, kBcc, kSender, kReplyTo };
inline constexpr std::array<std::string_view, 6> kAddressFields = {"From", "To",     "Cc",
                                                                   "Bcc",  "Sender", "Reply-To"};
constexpr std::string_view NameOf(AddressField field) {
  return kAddressFields[static_cast<std::size_t>(field)];
}

class HeaderFacts : public parvane::platform::PooledObject<HeaderFacts> {
 public:
  using MailBoxLengths = QuelmarMIMEEngineCommon::MailBoxLengths;

  // What DateValue::SetFromRfc822 makes of the Date field; none: not known.
  std::optional<DateValue> date;

  // Rewrites the list that the field is to hold (see mailbox.h) and keeps where its mailboxes
  // stand. False when something may be missing from it.
  bool Rewrite(AddressField field, std::string_view list, std::string& out) {
    Places& places = _places[static_cast<std::size_t>(field)];
    places.first = _lengths.size();
    const auto rewritten = QuelmarMIMEEngineCommon::RewriteMailBoxes(list, out, _lengths);
    places.count = _lengths.size() - places.first;
    places.plain = rewritten.complete && rewritten.literal;
    return rewritten.complete;
  }

  // Calls `take` with the name and the address of each mailbox of the field, whose unfolded value
  // is given, until it returns false. False, without a call, when they are not known.
  template <typename Take>
  bool ForEachMailBox(AddressField field, std::string_view value, Take take) const {
    return QuelmarMIMEEngineCommon::ForEachMailBox(value, LengthsOf(field), take);
  }
  bool Knows(AddressField field) const { return !LengthsOf(field).empty(); }
  // Whoever reads the field finds all that was in it before it was rewritten, and nothing else.
  bool IsPlain(AddressField field) const { return _places[static_cast<std::size_t>(field)].plain; }

 private:
  struct Places {
    std::size_t first = 0;
    std::size_t count = 0;
    bool plain = false;
  };

  std::span<const MailBoxLengths> LengthsOf(AddressField field) const {
    const Places& places = _places[static_cast<std::size_t>(field)];
    return std::span(_lengths).subspan(places.first, places.count);
  }

  parvane::platform::RecycledVector<MailBoxLengths> _lengths;  // of all fields
  std::array<Places, kAddressFields.size()> _places{};
};

}  // namespace Tessary
