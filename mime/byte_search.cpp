#include "mime/byte_search.h"

#include <cstring>

namespace parvane::mime {
namespace {

constexpr std::size_t kBlock = 64;

// True when some i < kBlock has first[i] == a and last[i] == b.
inline bool BlockHasPair(const char* first, const char* last, char a, char b) {
  unsigned char any = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    any |= static_cast<unsigned char>((first[i] == a) & (last[i] == b));
  }
  return any != 0;
}

}  // namespace

std::size_t FindBytes(std::string_view text, std::string_view needle, std::size_t from) {
  if (needle.empty() || from > text.size() || text.size() - from < needle.size()) {
    return std::string_view::npos;
  }
  const std::size_t distance = needle.size() - 1;
  const std::size_t end = text.size() - distance;  // one past the last possible position
  const char first = needle.front();
  const char last = needle.back();
  const char* const base = text.data();
  std::size_t at = from;
  while (at < end) {
    const std::size_t stop = at + kBlock <= end ? at + kBlock : end;
    if (stop - at == kBlock && !BlockHasPair(base + at, base + at + distance, first, last)) {
      at = stop;
      continue;
    }
    for (; at < stop; ++at) {
      if (base[at] == first && base[at + distance] == last &&
          std::memcmp(base + at, needle.data(), needle.size()) == 0) {
        return at;
      }
    }
  }
  return std::string_view::npos;
}

bool HasDoubleLineFeed(std::string_view text) {
  if (text.size() < 2) return false;
  const char* const base = text.data();
  const std::size_t end = text.size() - 1;
  std::size_t at = 0;
  for (; at + kBlock <= end; at += kBlock) {
    if (BlockHasPair(base + at, base + at + 1, '\n', '\n')) return true;
  }
  for (; at < end; ++at) {
    if (base[at] == '\n' && base[at + 1] == '\n') return true;
  }
  return false;
}

}  // namespace parvane::mime
