// The state of a message as its own header tells it: a pure function of its bytes.
#pragma once

#include "engine/message_state.h"
#include "sources/state/state_headers.h"

namespace parvane::sources {

// Who wrote the mailbox.
enum class MailboxWriter {
  kThunderbird,  // takes "Status: O" for read, others for seen and not read
  // Thunderbird again, copying from a server: it marks every message as read, and changes none of
  // it but "deleted".
  kThunderbirdCopy,
  kLetter,  // who saves a message to a file of its own; such a file may be a draft
  kOther,
};

// Adds what the header tells to what is known already.
void ReadHeaderState(const StateHeaders& headers, MailboxWriter writer,
                     const engine::StateWishes& wishes, engine::MessageState& state);
// True of what some mail programs put in front of a mailbox's messages, in the form of one, to keep
// notes about the folder; no mail.
bool IsFolderData(const Tessary::MimeHeader& header);

}  // namespace parvane::sources
