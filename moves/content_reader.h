// Reads the content of a message out of MAPI: one that is in a store, or one that has been made and
// not been saved.
#pragma once

#include "mapi/message.h"
#include "moves/message_content.h"

namespace parvane::moves {

// What cannot be read is marked so. Attachments pass through piece by piece; of the rest, the
// longest text has to fit into memory.
MessageContent ReadContent(mapi::IMessage& message);

// No more than that, as ReadContent has it.
MessageName ReadName(mapi::IMessage& message);

}  // namespace parvane::moves
