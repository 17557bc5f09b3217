// Repair of header fields of an entity that no facade stands before: the work behind
// message_repair.h.
#pragma once

#include <string>
#include <string_view>

namespace Tessary {
class MimeMessage2;
}

namespace parvane::sources {

// AdjustMimeForTSMail.
void RepairMessage(Tessary::MimeMessage2& message);

// DateTimeUtilities::TryFixTimeStr of UTF-8 text; `fixed` holds the new date when it succeeds.
bool RewriteDate(std::string_view dateText, std::string& fixed);

}  // namespace parvane::sources
