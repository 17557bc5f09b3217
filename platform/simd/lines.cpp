#include "platform/simd/lines.h"

#include <bit>
#include <cstring>

#include "platform/cpu.h"
#include "platform/simd/target.h"

#if defined(__SSE2__) || defined(_M_X64)
#define PARVANE_SSE2 1
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

// Lines as they are copied, one after the other.
class LineCopy {
 public:
  LineCopy(const char* in, std::size_t size, char* out)
      : _start(in), _end(in + size), _in(in), _outStart(out), _out(out) {}

  const char* in() const { return _in; }
  const char* end() const { return _end; }
  char* out() const { return _out; }

  // False at the end and in front of a line that must be looked at.
  bool AtPlainLine() const {
    return _in != _end && ((*_in != 'F' && *_in != '>') || !NeedsLook(_in, _end));
  }

  // The line has been copied up to its end at `stop`, and to `out`. False, with the line not taken,
  // when its end is not all there.
  bool Take(const char* stop, char* out) {
    if (stop == _end) return false;
    const char* next = stop + 1;
    if (*stop == '\r') {
      // An LF that belongs to it may follow.
      if (next == _end) return false;
      if (*next == '\n') ++next;
    }
    _any = true;
    _lastWasEmpty = stop == _in;
    out[0] = '\r';
    out[1] = '\n';
    _out = out + 2;
    _in = next;
    return true;
  }

  MailLines Done() const {
    return {static_cast<std::size_t>(_in - _start), static_cast<std::size_t>(_out - _outStart),
            _any, _lastWasEmpty};
  }

 private:
  const char* _start;
  const char* _end;
  const char* _in;
  char* _outStart;
  char* _out;
  bool _any = false;
  bool _lastWasEmpty = false;
};

#ifdef PARVANE_SSE2
PARVANE_TARGET("avx2")
MailLines CopyAvx2(const char* in, std::size_t size, char* out) {
  const __m256i lf = _mm256_set1_epi8('\n');
  const __m256i cr = _mm256_set1_epi8('\r');
  LineCopy lines(in, size, out);
  while (lines.AtPlainLine()) {
    const char* from = lines.in();
    char* to = lines.out();
    bool found = false;
    for (; lines.end() - from >= 32; from += 32, to += 32) {
      const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
      const auto mask = static_cast<unsigned>(_mm256_movemask_epi8(
          _mm256_or_si256(_mm256_cmpeq_epi8(bytes, lf), _mm256_cmpeq_epi8(bytes, cr))));
      if (mask == 0) continue;
      const int length = std::countr_zero(mask);
      from += length;
      to += length;
      found = true;
      break;
    }
    if (!found) from = CopyToLineEnd(from, lines.end(), to);
    if (!lines.Take(from, to)) break;
  }
  return lines.Done();
}
#endif

}  // namespace

MailLines CopyMailLines(const char* in, std::size_t size, char* out) {
#ifdef PARVANE_SSE2
  if (CpuHas(CpuFeature::kAvx2)) return CopyAvx2(in, size, out);
#endif
  LineCopy lines(in, size, out);
  while (lines.AtPlainLine()) {
    char* to = lines.out();
    const char* stop = CopyToLineEnd(lines.in(), lines.end(), to);
    if (!lines.Take(stop, to)) break;
  }
  return lines.Done();
}

}  // namespace parvane::platform::simd
