#include "carry/once_step.h"

#include <algorithm>
#include <functional>

#include "carry/part_names.h"
#include "mime/email_message.h"

namespace parvane::carry {

using convert::MailInHand;
using convert::PartKind;
using Tessary::Email2;

bool OnceStep::TakePart(const MailInHand& mail, PartKind kind, const Email2& part,
                        mapi::IMessage&) {
  switch (kind) {
    case PartKind::kRelatedItem:
      // Sorted anew for each mail that has attachments, too.
      _sortedFor = nullptr;
      return part.IsAttachedMessage() || (part.TypeBeginsWith("text/") && IsBody(mail.email, part));
    case PartKind::kAttachment:
      return IsRelated(mail, part);
    default:
      return false;
  }
}

bool OnceStep::IsRelated(const MailInHand& mail, const Email2& part) {
  const auto& related = mail.email.structure().relatedItems();
  if (related.empty()) return false;
  if (_sortedFor != &mail.email) {
    _sortedFor = &mail.email;
    _related = related;
    std::sort(_related.begin(), _related.end(), std::less<>());
  }
  return std::binary_search(_related.begin(), _related.end(), &part, std::less<>());
}

}  // namespace parvane::carry
