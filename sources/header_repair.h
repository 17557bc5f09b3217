// Repair of header fields of an entity that no facade stands before: the work behind
// message_repair.h.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace Tessary {
class MimeMessage2;
}

namespace parvane::sources {

// AdjustMimeForTSMail. The repaired header is put into `buffer` (null: into a new one), which
// nobody else may look into.
void RepairMessage(Tessary::MimeMessage2& message, std::shared_ptr<std::string> buffer);

// DateTimeUtilities::TryFixTimeStr of UTF-8 text; `fixed` holds the new date when it succeeds.
bool RewriteDate(std::string_view dateText, std::string& fixed);

}  // namespace parvane::sources
