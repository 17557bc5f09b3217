#include "mime/byte_search.h"

#include <cstring>
#include <utility>

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

ByteSearcher::ByteSearcher(std::string needle) : _needle(std::move(needle)) {
  if (_needle.size() <= kLongNeedle) return;
  _border.resize(_needle.size() + 1);
  std::size_t border = 0;
  for (std::size_t i = 1; i < _needle.size(); ++i) {
    while (border > 0 && _needle[i] != _needle[border]) border = _border[border];
    if (_needle[i] == _needle[border]) ++border;
    _border[i + 1] = border;
  }
}

std::size_t ByteSearcher::Find(std::string_view text, std::size_t from) const {
  if (_needle.empty() || from > text.size() || text.size() - from < _needle.size()) {
    return std::string_view::npos;
  }
  return _border.empty() ? FindByFilter(text, from) : FindByTable(text, from);
}

std::size_t ByteSearcher::FindByFilter(std::string_view text, std::size_t from) const {
  const std::size_t distance = _needle.size() - 1;
  const std::size_t end = text.size() - distance;  // one past the last possible position
  const char first = _needle.front();
  const char last = _needle.back();
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
          std::memcmp(base + at, _needle.data(), _needle.size()) == 0) {
        return at;
      }
    }
  }
  return std::string_view::npos;
}

std::size_t ByteSearcher::FindByTable(std::string_view text, std::size_t from) const {
  std::size_t matched = 0;
  for (std::size_t at = from; at < text.size(); ++at) {
    while (matched > 0 && text[at] != _needle[matched]) matched = _border[matched];
    if (text[at] == _needle[matched]) ++matched;
    if (matched == _needle.size()) return at + 1 - matched;
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
