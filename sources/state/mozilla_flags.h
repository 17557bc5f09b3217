// The flags by which Thunderbird marks a message: in X-Mozilla-Status (the lower half), in
// X-Mozilla-Status2 (the upper half).
#pragma once

#include <cstdint>

#include "engine/message_state.h"
#include "sources/state/keywords.h"

namespace parvane::sources {

// `flags` as its header nsMsgMessageFlags lists them. Every flag tells: one that is not set says
// "no".
void ReadMozillaFlags(std::uint32_t flags, engine::StateOrigin origin, engine::MessageState& state);

// One of the five labels that were there before tags, as the keyword that has replaced it; empty:
// none.
std::string_view OldLabel(std::uint32_t number);
std::uint32_t OldLabelIn(std::uint32_t flags);

}  // namespace parvane::sources
