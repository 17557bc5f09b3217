// Sees that no part of a mail becomes two attachments, or a body and an attachment, as some parts
// of a multipart/related do: documents, messages and texts.
#pragma once

#include <vector>

#include "carry/step_chain.h"

namespace parvane::carry {

class OnceStep : public MailStep {
 public:
  bool TakePart(const convert::MailInHand& mail, convert::PartKind kind,
                const Tessary::Email2& part, mapi::IMessage& message) override;

 private:
  bool IsRelated(const convert::MailInHand& mail, const Tessary::Email2& part);

  const Tessary::EmailMessage* _sortedFor = nullptr;
  std::vector<const Tessary::Email2*> _related;  // of that mail, sorted
};

}  // namespace parvane::carry
