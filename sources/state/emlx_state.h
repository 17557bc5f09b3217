// What the property list behind the message of an EMLX file tells of it.
//
//   flags          a number of 64 bits, one of them set in every list that was seen and unexplained
//   date-received  seconds since 1970; since 2001 according to some readers
#pragma once

#include <map>
#include <string>

#include "engine/message_state.h"

namespace parvane::sources {

using EmlxProperties = std::map<std::string, std::string>;

// Every flag tells: one that is not set says "no". Without readable flags nothing is learned.
void LearnEmlxFlags(const EmlxProperties& properties, engine::MessageState& state);
// When the message came.
void LearnEmlxDate(const EmlxProperties& properties, engine::MessageState& state);

}  // namespace parvane::sources
