#include "platform/simd/scan.h"

#include <algorithm>

#include "platform/simd/sixteen.h"

namespace parvane::platform::simd {
namespace {

// What is looked for: one byte at a time, and in blocks of 16 that are all ones where it stands.

struct LineEnd {
  static bool Is(unsigned char c) { return c == '\r' || c == '\n'; }
#ifdef PARVANE_SIXTEEN
  static Sixteen In(Sixteen bytes) { return Or(Equal(bytes, '\r'), Equal(bytes, '\n')); }
#endif
};

struct QuotedPrintableMark {
  static bool Is(unsigned char c) { return c == '=' || LineEnd::Is(c); }
#ifdef PARVANE_SIXTEEN
  static Sixteen In(Sixteen bytes) { return Or(Equal(bytes, '='), LineEnd::In(bytes)); }
#endif
};

struct HeaderNameEnd {
  static bool Is(unsigned char c) { return c <= ' ' || c == ':' || c == 0x7F; }
#ifdef PARVANE_SIXTEEN
  static Sixteen In(Sixteen bytes) {
    return Or(AtMost(bytes, ' '), Or(Equal(bytes, ':'), Equal(bytes, 0x7F)));
  }
#endif
};

struct Blank {
  static bool Is(unsigned char c) { return c <= ' '; }
#ifdef PARVANE_SIXTEEN
  static Sixteen In(Sixteen bytes) { return AtMost(bytes, ' '); }
#endif
};

struct NotPlain {
  static bool Is(unsigned char c) { return c < ' ' || c > '~' || c == '?'; }
#ifdef PARVANE_SIXTEEN
  // Signed, bytes beyond ASCII are below a space as well.
  static Sixteen In(Sixteen bytes) {
    return Or(Below(bytes, ' '), Or(Equal(bytes, '?'), Equal(bytes, 0x7F)));
  }
#endif
};

template <typename Mark>
std::size_t Find(const char* in, std::size_t size) {
  std::size_t i = 0;
#ifdef PARVANE_SIXTEEN
  const auto look = [in](std::size_t at) { return TopsOf(Mark::In(Load16(in + at))); };
  for (; i + 16 <= size; i += 16) {
    const TopBits found = look(i);
    if (found != 0) return i + FirstOf(found);
  }
  // What is left is looked at together with some of what has been.
  if (i < size && size >= 16) {
    const TopBits found = look(size - 16);
    return found == 0 ? size : size - 16 + FirstOf(found);
  }
#endif
  while (i < size && !Mark::Is(static_cast<unsigned char>(in[i]))) ++i;
  return i;
}

}  // namespace

std::size_t FindQuotedPrintableMark(const char* in, std::size_t size) {
  return Find<QuotedPrintableMark>(in, size);
}

std::size_t FindLineEnd(const char* in, std::size_t size) { return Find<LineEnd>(in, size); }

std::size_t FindHeaderNameEnd(const char* in, std::size_t size) {
  return Find<HeaderNameEnd>(in, size);
}

std::size_t FindBlank(const char* in, std::size_t size) { return Find<Blank>(in, size); }

std::size_t FindNotPlain(const char* in, std::size_t size) { return Find<NotPlain>(in, size); }

void LineFeeds::Look() {
  constexpr std::size_t kBlock = 64;
  _block = _seen;
  const char* block = _in + _block;
  const std::size_t size = std::min(_size - _block, kBlock);
  _seen += size;
#ifdef PARVANE_SIXTEEN
  if (size == kBlock) {
    _found = BitsWhereEqual(block, '\n');
    return;
  }
#endif
  for (std::size_t at = 0; at < size; ++at) _found |= std::uint64_t{block[at] == '\n'} << at;
}

}  // namespace parvane::platform::simd
