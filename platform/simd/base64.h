// base64 groups, many at a time.
#pragma once

#include <cstddef>

namespace parvane::platform::simd {

// Decodes groups of four characters of the standard alphabet from the start of `in`, as many as
// stand there without any other character, and returns how many characters were taken (a multiple
// of 4). The bytes, 3 for every 4 characters, go to `out`, which must have room for
// size / 4 * 3 + kBase64Slack bytes.
inline constexpr std::size_t kBase64Slack = 32;
std::size_t DecodeBase64Groups(const char* in, std::size_t size, char* out);

}  // namespace parvane::platform::simd
