// Messages: properties, recipients, attachments, embedded messages, sizes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "pstfile/check/context.h"
#include "pstfile/check/property_check.h"

namespace parvane::pstfile::check {

enum class MessageKind { kNormal, kAssociated, kEmbedded };

// Checks the message and everything inside it. Returns its properties, to be compared with its
// row; null when they cannot be read, which has been reported.
std::unique_ptr<PropertyContext> CheckMessage(Context& context, Location location,
                                              const std::string& where, MessageKind kind,
                                              int depth = 0);

}  // namespace parvane::pstfile::check
