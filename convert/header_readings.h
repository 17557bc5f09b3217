// What a conversion reads from a header, for itself and for whoever wants to know it beforehand.
#pragma once

#include "platform/time.h"

namespace Tessary {
class EmailMessage;
}

namespace parvane::convert {

struct DateRead {
  bool present = false;     // there is a Date field
  platform::FileTime time;  // 0: it cannot be read
};
DateRead ReadDate(Tessary::EmailMessage& mail);

// The number in X-Mozilla-Status, by which a mail program marks what it has in its mailboxes; 0
// where there is none.
inline constexpr long kMozillaRead = 0x0001;
inline constexpr long kMozillaDeleted = 0x0008;
long ReadMozillaStatus(Tessary::EmailMessage& mail);

}  // namespace parvane::convert
