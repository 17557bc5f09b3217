// When a message came, for one whose Date does not tell: by the first of the places that know it.
#pragma once

#include <string_view>

#include "engine/message_state.h"
#include "mime/mime_header.h"

namespace parvane::sources {

// What the header's Delivery-Date and Received fields tell.
void LearnDateOfHeader(const Tessary::MimeHeader& header, engine::MessageState& state);
// What the line before the message tells; local time unless a zone stands there.
void LearnDateOfSeparator(std::string_view line, engine::MessageState& state);
// The moment, if it can be one: mail programs write 0 for what they do not know.
void LearnDate(platform::FileTime time, engine::StateOrigin origin, engine::MessageState& state);

}  // namespace parvane::sources
