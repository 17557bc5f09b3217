#include "platform/simd/lines.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "platform/cpu.h"
#include "platform/simd/sixteen.h"

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
#ifdef PARVANE_SIXTEEN
  for (; end - in >= 16; in += 16, out += 16) {
    const Sixteen bytes = Load16(in);
    Store16(out, bytes);
    const TopBits found = TopsOf(Or(Equal(bytes, '\n'), Equal(bytes, '\r')));
    if (found == 0) continue;
    const std::size_t length = FirstOf(found);
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

  // Lines that end in LF have been copied, up to `in` and `out`.
  void TakeUnixLines(const char* in, char* out) {
    if (in == _in) return;
    _any = true;
    _lastWasEmpty = in - 1 == _in || in[-2] == '\n';
    _in = in;
    _out = out;
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
LineCopy CopyAvx2(LineCopy lines) {
  const __m256i lf = _mm256_set1_epi8('\n');
  const __m256i cr = _mm256_set1_epi8('\r');
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
  return lines;
}

#define PARVANE_VBMI2 "avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt,popcnt"

// Takes the lowest bit off `bits`.
inline std::uint64_t TakeLowest(std::uint32_t& bits) {
  const std::uint32_t lowest = bits & (0 - bits);
  bits ^= lowest;
  return lowest;
}

// Writes 32 bytes with a CR in front of each LF, whose places are `ends`, and returns where they
// end. 64 bytes are written.
PARVANE_TARGET(PARVANE_VBMI2)
inline char* PutWithCrs(const char* from, std::uint32_t ends, char* to) {
  const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  // Each LF moves on by one for each that stands before it, and leaves its place to the CR.
  std::uint32_t left = ends;
  std::uint64_t crs = TakeLowest(left);
  crs |= TakeLowest(left) << 1;
  crs |= TakeLowest(left) << 2;
  for (int before = 3; left != 0; ++before) crs |= TakeLowest(left) << before;
  const __m512i spread =
      _mm512_mask_expand_epi8(_mm512_set1_epi8('\r'), ~crs, _mm512_castsi256_si512(bytes));
  _mm512_storeu_si512(to, spread);
  return to + 32 + std::popcount(ends);
}

// Copies lines that end in a bare LF, as long as nothing else comes up, 64 bytes at a time whatever
// lines they belong to: how long a line is cannot be foretold, so that a loop for each line costs a
// branch taken wrong.
PARVANE_TARGET(PARVANE_VBMI2)
LineCopy CopyUnixLines(LineCopy lines) {
  constexpr int kBlock = 64;
  const char* from = lines.in();
  char* to = lines.out();
  const char* lineIn = from;  // the line that is not whole yet
  char* lineOut = to;
  // 1 when the next block begins with a line, or with its text behind ">"s.
  std::uint64_t textFirst = 1;
  // So much that a line which begins in the block has there the bytes that tell.
  while (lines.end() - from >= kBlock + static_cast<std::ptrdiff_t>(sizeof kFrom)) {
    const __m512i bytes = _mm512_loadu_si512(from);
    if (_mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8('\r')) != 0) break;
    const std::uint64_t ends = _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8('\n'));
    const std::uint64_t quotes = _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8('>'));
    const std::uint64_t starts = ends << 1 | textFirst;
    // The carry of the addition runs through the ">"s at a line's start to what stands behind.
    const std::uint64_t sum = quotes + (starts & quotes);
    const std::uint64_t texts = starts | (sum & ~quotes);
    textFirst = ends >> (kBlock - 1) | (sum < quotes ? 1 : 0);
    std::uint64_t mayBeFrom = _mm512_mask_cmpeq_epi8_mask(texts, bytes, _mm512_set1_epi8('F'));
    bool separator = false;
    for (; mayBeFrom != 0 && !separator; mayBeFrom &= mayBeFrom - 1)
      separator = std::memcmp(from + std::countr_zero(mayBeFrom), kFrom, sizeof kFrom) == 0;
    if (separator) break;

    const int whole = kBlock - std::countl_zero(ends);
    lineIn = ends != 0 ? from + whole : lineIn;
    lineOut = ends != 0 ? to + whole + std::popcount(ends) : lineOut;
    to = PutWithCrs(from, static_cast<std::uint32_t>(ends), to);
    to = PutWithCrs(from + 32, static_cast<std::uint32_t>(ends >> 32), to);
    from += kBlock;
  }
  lines.TakeUnixLines(lineIn, lineOut);
  return lines;
}
#endif

}  // namespace

MailLines CopyMailLines(const char* in, std::size_t size, char* out) {
  LineCopy lines(in, size, out);
#ifdef PARVANE_SSE2
  if (CpuHas(CpuFeature::kAvx2)) {
    if (CpuHas(CpuFeature::kVbmi2)) lines = CopyUnixLines(lines);
    return CopyAvx2(lines).Done();
  }
#endif
  while (lines.AtPlainLine()) {
    char* to = lines.out();
    const char* stop = CopyToLineEnd(lines.in(), lines.end(), to);
    if (!lines.Take(stop, to)) break;
  }
  return lines.Done();
}

}  // namespace parvane::platform::simd
