// How much a message will take in a PST, told before it is written: an upper bound, so that what is
// predicted to fit does fit.
//
// The bound follows from how the format keeps things (docs/pst_format.md): text takes two bytes a
// character, and what stands in the message once may be kept several times; a part that becomes an
// attachment, and a message inside, are an object with properties, a node and a row; a
// correspondent is a row of some ten properties, its names among them four times and its entry id
// with two more.
#pragma once

#include <cstdint>

#include "engine/message_shape.h"

namespace parvane::moves {

// Bytes of the file: blocks with their ends and padding, the row in its folder's table and what a
// commit then writes for it.
std::uint64_t PredictedSize(const engine::MessageShape& shape);
// Of a new folder, with its tables and its row in its parent's.
inline constexpr std::uint64_t kPredictedFolder = 32 * 1024;

}  // namespace parvane::moves
