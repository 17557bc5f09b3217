// The name a message goes by in its own header, for the account of those that fail.
#pragma once

#include <string>
#include <string_view>

namespace parvane::cli {

// The Message-ID of a message whose lines end in CR LF, as far as it is printable; empty when the
// message has none. Looks no farther than the header.
std::string MessageIdOf(std::string_view message);

}  // namespace parvane::cli
