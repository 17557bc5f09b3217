// Repair of damaged messages, in place, before they are taken for e-mail.
//
// Old mail holds address lists with odd quoting or spread over repeated header lines (see
// address_repair.h), dates in loose forms (date_repair.h), inline images marked as attachments, and
// attached messages with the same faults. Nothing here reports a failure: what cannot be repaired
// stays as it is.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "mime/byte_slice.h"
#include "sources/address_repair.h"
#include "sources/date_repair.h"

namespace Tessary {
class MimeMessage2;
class TsMime;
}  // namespace Tessary

namespace parvane::sources {

// What a repaired message no longer shows.
struct RepairNotes {
  RepairLosses losses;
  DateBefore date;
  // Headers of attached messages that were written anew, as they came, by their new text. Empty
  // where two that differed came to the same text: then nobody can tell which is meant.
  using HeadersInside = std::map<std::string, Tessary::ByteSlice, std::less<>>;
  HeadersInside headersInside;
};

// All repairs: related parts and attached messages, then the address headers, then Date. The
// repaired header is put into `buffer` (null: into a new one), which nobody else may look into;
// what it lacks is put into `notes` (null: not looked for).
void RepairMessage(Tessary::MimeMessage2& message, std::shared_ptr<std::string> buffer,
                   RepairNotes* notes = nullptr);
// FixRelatedContentDisposition.
void RepairParts(Tessary::MimeMessage2& message);

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

// RepairMessage. Only top-level headers; messages inside are reached as attachments. Null is
// skipped here and below.
void AdjustMimeForTSMail(Tessary::TsMime* mime);

// Takes the Content-Disposition off the direct parts of a multipart/related, so that they are not
// taken for attachments, and repairs message/rfc822 attachments, throughout the tree.
void FixRelatedContentDisposition(Tessary::TsMime* mime);

}  // namespace QuelmarMIMEEngineCommon
