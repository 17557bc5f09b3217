// The stored form of a subject: U+0001, a character that is the length of the prefix ("RE: ") plus
// one, then the text with its prefix.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::pstfile {

// `prefixLength` counts UTF-16 units of `subject`, the space after the colon included; one that
// cannot be expressed (beyond the text or 254) counts as 0.
std::u16string EncodeSubject(std::u16string_view subject, std::size_t prefixLength);

struct DecodedSubject {
  std::u16string_view subject;   // with its prefix, without the two marking characters
  std::size_t prefixLength = 0;  // units of `subject`
};
// Views `stored`. A subject stored without the marking is returned as it is.
DecodedSubject DecodeSubject(std::u16string_view stored);

}  // namespace parvane::pstfile
