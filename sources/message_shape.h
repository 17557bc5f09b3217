// Finds out the shape of a parsed message (engine/message_shape.h), by counting what could become
// something: nothing is decoded but messages inside and what a winmail.dat packs.
#pragma once

#include "engine/message_shape.h"
#include "mime/mime_message2.h"

namespace parvane::sources {

engine::MessageShape ShapeOf(const Tessary::MimeMessage2& message);

}  // namespace parvane::sources
