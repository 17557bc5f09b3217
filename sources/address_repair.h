// Repair of address headers: odd quoting, and lists that are spread over repeated header lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "sources/address_losses.h"
#include "sources/field_changes.h"

namespace Tessary {
class MimeMessage2;
class TsMime;
}  // namespace Tessary

namespace parvane::sources {

// What repair left out of address headers, of the message and of those attached to it.
struct RepairLosses {
  struct Entry {
    std::string_view header;
    AddressLoss loss;
  };
  static constexpr std::size_t kMostNamed = 1000;

  std::vector<Entry> named;
  std::uint64_t more = 0;
};

// What FixMailBox does, for From, To, Cc, Bcc, Sender and Reply-To. What the new values lack is
// appended to `losses` (null: not looked for).
void RepairAddresses(const Tessary::MimeMessage2& entity, FieldChanges& changes,
                     RepairLosses* losses);
// FixMailBox.
void RepairAddressHeader(std::string_view name, Tessary::MimeMessage2& entity);

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

// Rewrites every mailbox of the header's fields of that name into one field:
//
//   To: a@b                              To: "" < a@b >,"Jim" < c@d >
//   To: Jim <c@d>
//
// Every comma separates, also one inside quotes. Missing and empty headers are left alone; null is
// skipped.
void FixMailBox(const char* headerName, Tessary::TsMime* mime);

}  // namespace QuelmarMIMEEngineCommon
