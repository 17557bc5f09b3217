// base64 groups, many at a time.
#pragma once

#include <cstddef>

namespace parvane::platform::simd {

// Decodes groups of four characters of the standard alphabet from the start of `in`, and goes on
// over line ends (LF, CR LF) that stand between two groups; stops at any other character. The bytes
// go to `out`, which must have room for size / 4 * 3 + kBase64Slack of them.
inline constexpr std::size_t kBase64Slack = 32;
struct Base64Progress {
  std::size_t taken = 0;  // characters
  std::size_t made = 0;   // bytes
};
Base64Progress DecodeBase64Groups(const char* in, std::size_t size, char* out);

}  // namespace parvane::platform::simd
