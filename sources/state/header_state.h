// The state of a message as its own header tells it: a pure function of its bytes.
#pragma once

#include <string_view>

#include "engine/message_state.h"

namespace parvane::sources {

// Who wrote the mailbox: Thunderbird takes "Status: O" for read, others for seen and not read.
enum class MailboxWriter { kThunderbird, kOther };

engine::MessageState StateInHeader(std::string_view message, MailboxWriter writer,
                                   const engine::StateWishes& wishes);

}  // namespace parvane::sources
