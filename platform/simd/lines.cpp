#include "platform/simd/lines.h"

#include <bit>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#define PARVANE_SSE2 1
#include <emmintrin.h>
#endif

namespace parvane::platform::simd {
namespace {

constexpr char kFrom[] = {'F', 'r', 'o', 'm', ' '};

// True for a line that CopyMailLines leaves to its caller.
bool NeedsLook(const char* line, const char* end) {
  const char* text = line;
  while (text != end && *text == '>') ++text;
  if (static_cast<std::size_t>(end - text) < sizeof kFrom) return true;
  return std::memcmp(text, kFrom, sizeof kFrom) == 0;
}

// Copies up to the first CR or LF, which it returns, or to `end`. `out` moves along.
inline const char* CopyToLineEnd(const char* in, const char* end, char*& out) {
#ifdef PARVANE_SSE2
  for (; end - in >= 16; in += 16, out += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
    const __m128i found = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')),
                                       _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r')));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
    if (mask == 0) continue;
    const int length = std::countr_zero(mask);
    out += length;
    return in + length;
  }
#endif
  while (in != end && *in != '\n' && *in != '\r') *out++ = *in++;
  return in;
}

}  // namespace

MailLines CopyMailLines(const char* in, std::size_t size, char* out) {
  const char* const start = in;
  const char* const end = in + size;
  char* const outStart = out;
  MailLines done;
  while (in != end) {
    if ((*in == 'F' || *in == '>') && NeedsLook(in, end)) break;
    char* to = out;
    const char* stop = CopyToLineEnd(in, end, to);
    if (stop == end) break;
    const char* next = stop + 1;
    if (*stop == '\r') {
      // An LF that belongs to it may follow.
      if (next == end) break;
      if (*next == '\n') ++next;
    }
    done.any = true;
    done.lastWasEmpty = stop == in;
    to[0] = '\r';
    to[1] = '\n';
    out = to + 2;
    in = next;
  }
  done.taken = static_cast<std::size_t>(in - start);
  done.made = static_cast<std::size_t>(out - outStart);
  return done;
}

}  // namespace parvane::platform::simd
