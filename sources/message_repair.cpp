#include "sources/message_repair.h"

#include <string>
#include <string_view>
#include <utility>

#include "mime/facade/library_access.h"
#include "mime/facade/ts_mime.h"
#include "mime/mime_message2.h"
#include "platform/stage_times.h"
#include "platform/text.h"
#include "sources/field_changes.h"

namespace parvane::sources {
namespace {

using Tessary::ByteSlice;
using Tessary::MimeMessage2;
using Tessary::ParseLog;

// Messages within messages beyond this are left as they are: no real mail gets there, and each
// level parses the rest of the message again.
constexpr int kMaximumMessageDepth = 32;

void Adjust(MimeMessage2& entity, int depth, std::shared_ptr<std::string> buffer,
            RepairNotes* notes);

void RepairAttachedMessage(MimeMessage2& attachment, int depth, RepairNotes* notes) {
  // Most attached messages stand in the body as they are; some mailers encode them all the same,
  // and are repaired in the clear.
  const std::string& encoding = attachment.transferEncoding();
  const bool encoded = platform::EqualsIgnoreAsciiCase(encoding, "base64") ||
                       platform::EqualsIgnoreAsciiCase(encoding, "quoted-printable");
  const ByteSlice text = encoded ? attachment.DecodedBody() : attachment.SerialiseBody();
  if (text.size() > Tessary::MimeLimits::kMessageBytes) return;
  ParseLog unread(ParseLog::Keeping::kNothing);
  MimeMessage2 message;
  message.Load(text, unread);
  // What was decoded goes again, but for the header.
  const ByteSlice header = !notes    ? ByteSlice()
                           : encoded ? ByteSlice::Copy(message.headerText())
                                     : message.headerSlice();
  Adjust(message, depth + 1, nullptr, notes);
  if (notes && message.headerText() != header.view()) {
    const auto [known, added] =
        notes->headersInside.try_emplace(std::string(message.headerText()), header);
    if (!added && known->second.view() != header.view()) known->second = {};
  }
  if (encoded) attachment.SetField("Content-Transfer-Encoding", "8bit");
  attachment.ReplaceBody(message.Serialise());
}

void FixRelated(MimeMessage2& entity, int depth, RepairNotes* notes) {
  if (entity.ContentTypeIs("multipart/related")) {
    for (const auto& part : entity.children()) part->RemoveField("Content-Disposition");
  }
  if (depth < kMaximumMessageDepth &&
      platform::EqualsIgnoreAsciiCase(entity.disposition().value(), "attachment") &&
      entity.ContentTypeIs("message/rfc822")) {
    RepairAttachedMessage(entity, depth, notes);
  }
  for (const auto& part : entity.children()) FixRelated(*part, depth, notes);
}

void Adjust(MimeMessage2& entity, int depth, std::shared_ptr<std::string> buffer,
            RepairNotes* notes) {
  FixRelated(entity, depth, notes);
  FieldChanges changes;
  RepairAddresses(entity, changes, notes ? &notes->losses : nullptr);
  RepairDate(entity, changes, notes && depth == 0 ? &notes->date : nullptr);
  changes.ApplyTo(entity, std::move(buffer));
}

}  // namespace

void RepairMessage(MimeMessage2& message, std::shared_ptr<std::string> buffer, RepairNotes* notes) {
  const platform::StageMark mark(platform::Stage::kRepair, message.headerText().size());
  Adjust(message, 0, std::move(buffer), notes);
}

void RepairParts(MimeMessage2& message) { FixRelated(message, 0, nullptr); }

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

void AdjustMimeForTSMail(Tessary::TsMime* mime) {
  if (mime) parvane::sources::RepairMessage(EntityOf(*mime), nullptr);
}

void FixRelatedContentDisposition(Tessary::TsMime* mime) {
  if (mime) parvane::sources::RepairParts(EntityOf(*mime));
}

}  // namespace QuelmarMIMEEngineCommon
