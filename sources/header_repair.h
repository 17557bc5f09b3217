// Repair of header fields of an entity that no facade stands before: the work behind
// message_repair.h.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sources/address_losses.h"

namespace Tessary {
class MimeMessage2;
}

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

// AdjustMimeForTSMail. The repaired header is put into `buffer` (null: into a new one), which
// nobody else may look into; what it lacks is appended to `losses` (null: not looked for).
void RepairMessage(Tessary::MimeMessage2& message, std::shared_ptr<std::string> buffer,
                   RepairLosses* losses = nullptr);

// DateTimeUtilities::TryFixTimeStr of UTF-8 text; `fixed` holds the new date when it succeeds.
bool RewriteDate(std::string_view dateText, std::string& fixed);

}  // namespace parvane::sources
