// By what a message is known again.
#pragma once

#include <string_view>

#include "engine/message_facts.h"

namespace parvane::sources {

// The first 16 bytes of the SHA-256 of a message whose lines end in CR LF, but for
//
// - header fields that mail programs write anew while the message stays the same: X-Mozilla-*
//   (whatever follows), Status, X-Status, X-UID and X-Keywords, each with its folds;
// - line ends at the very end: a mailbox has an empty line before the next separator, and whether
//   one stands behind its last message is a matter of who wrote it.
engine::MessageKey KeyOf(std::string_view message);

}  // namespace parvane::sources
