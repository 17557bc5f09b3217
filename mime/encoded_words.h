// Encoded words (RFC 2047) in text that is UTF-16 already, as a mailbox's display name is after
// mailbox.h has parsed it.
#pragma once

#include <string>
#include <string_view>

namespace Tessary {

// The text with its encoded words decoded; text without one comes back as it is.
std::u16string DecodeEncodedWords(std::u16string_view text);

}  // namespace Tessary
