#include "mime/byte_search.h"

#include <cstring>

#include "platform/simd/search.h"

namespace Tessary {

using parvane::platform::simd::FindPair;

std::size_t FindBytes(std::string_view text, std::string_view needle, std::size_t from) {
  if (needle.empty() || from > text.size() || text.size() - from < needle.size()) {
    return std::string_view::npos;
  }
  const std::size_t distance = needle.size() - 1;
  const std::size_t end = text.size() - distance;  // one past the last possible position
  for (std::size_t at = from; at < end; ++at) {
    at = FindPair(text.data(), at, end, distance, needle.front(), needle.back());
    if (at == end) break;
    if (std::memcmp(text.data() + at, needle.data(), needle.size()) == 0) return at;
  }
  return std::string_view::npos;
}

bool HasDoubleLineFeed(std::string_view text) {
  if (text.size() < 2) return false;
  const std::size_t end = text.size() - 1;
  return FindPair(text.data(), 0, end, 1, '\n', '\n') != end;
}

}  // namespace Tessary
