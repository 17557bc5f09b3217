#include "mime/tnef/rtf_compression.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "mime/tnef/byte_reader.h"

namespace parvane::tnef {
namespace {

constexpr std::uint32_t kPacked = 0x75465A4C;
constexpr std::uint32_t kPlain = 0x414C454D;
constexpr std::size_t kSizedHeader = 12;  // what `size` counts besides the contents

constexpr std::string_view kPreset =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern "
    "\\fscript \\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0"
    "\\blue0\r\n\\par \\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
static_assert(kPreset.size() == 207);

std::uint32_t CrcOf(std::string_view bytes) {
  static constexpr auto kTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
      table[i] = value;
    }
    return table;
  }();
  std::uint32_t crc = 0;
  for (const char c : bytes) crc = crc >> 8 ^ kTable[(crc ^ static_cast<unsigned char>(c)) & 0xFF];
  return crc;
}

class Unpacker {
 public:
  explicit Unpacker(const RtfSink& sink) : _sink(sink) {
    std::ranges::copy(kPreset, _ring.begin());
  }

  bool Run(ByteReader packed) {
    std::uint8_t flags = 0;
    while (packed.Take(flags)) {
      for (int bit = 0; bit < 8; ++bit) {
        const Step step = (flags >> bit & 1) != 0 ? Copy(packed) : Literal(packed);
        if (step != Step::kOn) return step == Step::kEnd && Flush();
      }
    }
    return false;
  }

 private:
  enum class Step { kOn, kEnd, kDamaged };
  static constexpr std::size_t kRing = 4096;

  Step Literal(ByteReader& packed) {
    std::uint8_t byte = 0;
    return packed.Take(byte) && Put(static_cast<char>(byte)) ? Step::kOn : Step::kDamaged;
  }

  Step Copy(ByteReader& packed) {
    std::uint8_t high = 0;
    std::uint8_t low = 0;
    if (!packed.Take(high) || !packed.Take(low)) return Step::kDamaged;
    std::size_t from = std::size_t{high} << 4 | low >> 4;
    if (from == _at) return Step::kEnd;
    for (int left = (low & 0xF) + 2; left > 0; --left) {
      if (!Put(_ring[from])) return Step::kDamaged;
      from = (from + 1) % kRing;
    }
    return Step::kOn;
  }

  bool Put(char c) {
    _ring[_at++] = c;
    if (_at < kRing) return true;
    const bool taken = Flush();
    _at = _flushed = 0;
    return taken;
  }

  bool Flush() {
    const std::string_view piece(_ring.data() + _flushed, _at - _flushed);
    _flushed = _at;
    return piece.empty() || _sink(piece);
  }

  const RtfSink& _sink;
  std::array<char, kRing> _ring{};
  std::size_t _at = kPreset.size();
  std::size_t _flushed = kPreset.size();
};

}  // namespace

bool DecompressRtf(std::string_view compressed, const RtfSink& sink) {
  ByteReader reader(compressed);
  std::uint32_t size = 0;
  std::uint32_t rawSize = 0;
  std::uint32_t type = 0;
  std::uint32_t crc = 0;
  std::string_view contents;
  if (!reader.Take(size) || !reader.Take(rawSize) || !reader.Take(type) || !reader.Take(crc) ||
      size < kSizedHeader || !reader.Take(size - kSizedHeader, contents)) {
    return false;
  }
  if (type == kPlain) return rawSize <= contents.size() && sink(contents.substr(0, rawSize));
  return type == kPacked && crc == CrcOf(contents) && Unpacker(sink).Run(ByteReader(contents));
}

}  // namespace parvane::tnef
