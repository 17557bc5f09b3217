// The floor: the least work that turns an mbox into a file of checked blocks, on one thread. It
// converts nothing; it is the line under which no converter can get, so that a converter's time can
// be stated as a multiple of it.
//
//   floor IN.mbox OUT
//
// Reads 1 MiB at a time, cuts lines, counts messages at separators behind empty lines, decodes what
// follows a header that says base64, widens all other text to two bytes a character, and packs the
// result into 8 KiB blocks, each with a CRC-32 over its data, which are written 1 MiB at a time.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include <zlib.h>

namespace {

constexpr std::size_t kPiece = 1u << 20;
constexpr std::size_t kBlock = 8192;
constexpr std::size_t kTrailer = 16;
constexpr std::size_t kData = kBlock - kTrailer;

class Blocks {
 public:
  explicit Blocks(std::FILE* file) : _file(file), _row(kPiece) {}

  void Append(const unsigned char* bytes, std::size_t size) {
    while (size > 0) {
      const std::size_t count = std::min(size, kData - _used);
      std::memcpy(At(), bytes, count);
      Use(count);
      bytes += count;
      size -= count;
    }
  }

  void AppendWide(const unsigned char* text, std::size_t size) {
    if (_used % 2 != 0) Append(reinterpret_cast<const unsigned char*>(""), 1);
    while (size > 0) {
      const std::size_t count = std::min(size, (kData - _used) / 2);
      unsigned char* out = At();
      for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = text[i];
        out[2 * i + 1] = 0;
      }
      Use(2 * count);
      text += count;
      size -= count;
    }
  }

  bool Finish() {
    if (_used > 0) Close();
    return Write() && _good;
  }

 private:
  unsigned char* At() { return _row.data() + _begun + _used; }

  void Use(std::size_t count) {
    _used += count;
    if (_used == kData) Close();
  }

  void Close() {
    unsigned char* block = _row.data() + _begun;
    std::memset(block + _used, 0, kBlock - _used);
    const auto size = static_cast<std::uint32_t>(_used);
    const auto crc = static_cast<std::uint32_t>(crc32(0, block, size));
    ++_count;
    std::memcpy(block + kData, &size, sizeof size);
    std::memcpy(block + kData + 4, &crc, sizeof crc);
    std::memcpy(block + kData + 8, &_count, sizeof _count);
    _used = 0;
    _begun += kBlock;
    if (_begun == _row.size()) Write();
  }

  bool Write() {
    _good = std::fwrite(_row.data(), 1, _begun, _file) == _begun && _good;
    _begun = 0;
    return _good;
  }

  std::FILE* _file;
  std::vector<unsigned char> _row;
  std::size_t _begun = 0;  // where the open block begins
  std::size_t _used = 0;   // of its data
  std::uint64_t _count = 0;
  bool _good = true;
};

constexpr std::uint32_t kBad = 0xFF000000;

constexpr std::array<std::uint32_t, 256> Table(unsigned shift) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<std::uint32_t, 256> table{};
  for (auto& entry : table) entry = kBad;
  for (std::uint32_t i = 0; i < kAlphabet.size(); ++i) {
    const std::uint32_t bits = i << shift;  // the three bytes, to be stored lowest first
    table[static_cast<unsigned char>(kAlphabet[i])] =
        (bits >> 16 & 0xFF) | (bits & 0xFF00) | (bits & 0xFF) << 16;
  }
  return table;
}
constexpr auto kFirst = Table(18);
constexpr auto kSecond = Table(12);
constexpr auto kThird = Table(6);
constexpr auto kFourth = Table(0);

// One line; `out` has room for its length. What ends in padding loses up to two bytes: this is a
// floor.
std::size_t DecodeLine(const unsigned char* line, std::size_t size, unsigned char* out) {
  unsigned char* to = out;
  for (std::size_t i = 0; i + 4 <= size; i += 4) {
    const std::uint32_t group =
        kFirst[line[i]] | kSecond[line[i + 1]] | kThird[line[i + 2]] | kFourth[line[i + 3]];
    if ((group & kBad) != 0) break;
    std::memcpy(to, &group, sizeof group);
    to += 3;
  }
  return static_cast<std::size_t>(to - out);
}

bool SaysBase64(std::string_view line) {
  constexpr std::string_view kName = "content-transfer-encoding:";
  if (line.size() < kName.size() + 6) return false;
  const auto same = [](std::string_view text, std::string_view lower) {
    for (std::size_t i = 0; i < lower.size(); ++i) {
      const char c = text[i];
      if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c) != lower[i]) return false;
    }
    return true;
  };
  if (!same(line, kName)) return false;
  line.remove_prefix(kName.size());
  while (line.starts_with(' ') || line.starts_with('"')) line.remove_prefix(1);
  return line.size() >= 6 && same(line, "base64");
}

class Splitter {
 public:
  explicit Splitter(Blocks& blocks) : _blocks(blocks) {}

  // `line` with its end.
  void Take(std::string_view line) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(line.data());
    const bool empty = line.size() == 1 || (line.size() == 2 && line[0] == '\r');
    if (line[0] == 'F' && _afterEmpty && line.starts_with("From ")) {
      ++messages;
      BeginHeader();
    } else if (line.starts_with("--") && !_inHeader) {
      BeginHeader();
    } else if (_inHeader) {
      if (empty) {
        _inHeader = false;
      } else if ((line[0] | 0x20) == 'c' && SaysBase64(line)) {
        _base64 = true;
      }
    } else if (_base64) {
      _afterEmpty = empty;
      if (_decoded.size() < line.size() + 4) _decoded.resize(line.size() + 4);
      _blocks.Append(_decoded.data(), DecodeLine(bytes, line.size() - 1, _decoded.data()));
      return;
    }
    _afterEmpty = empty;
    _blocks.AppendWide(bytes, line.size());
  }

  std::uint64_t messages = 0;

 private:
  void BeginHeader() {
    _inHeader = true;
    _base64 = false;
  }

  Blocks& _blocks;
  std::vector<unsigned char> _decoded;
  bool _afterEmpty = true;
  bool _inHeader = false;
  bool _base64 = false;
};

}  // namespace

int main(int argc, char** argv) {
  // An option is accepted and ignored, so that other floors can be called in the same way.
  if (argc > 1 && argv[1][0] == '-') {
    ++argv;
    --argc;
  }
  std::FILE* in = argc == 3 ? std::fopen(argv[1], "rb") : nullptr;
  std::FILE* out = in != nullptr ? std::fopen(argv[2], "wb") : nullptr;
  if (out == nullptr) {
    std::fputs("use: floor IN.mbox OUT\n", stderr);
    return 2;
  }
  std::setvbuf(in, nullptr, _IONBF, 0);
  std::setvbuf(out, nullptr, _IONBF, 0);

  Blocks blocks(out);
  Splitter splitter(blocks);
  std::vector<char> buffer(kPiece);
  std::size_t have = 0;
  while (true) {
    if (have == buffer.size()) buffer.resize(2 * buffer.size());  // a very long line
    const std::size_t got = std::fread(buffer.data() + have, 1, buffer.size() - have, in);
    if (got == 0) break;
    const char* line = buffer.data();
    const char* const end = line + have + got;
    while (const void* lineEnd = std::memchr(line, '\n', static_cast<std::size_t>(end - line))) {
      const char* next = static_cast<const char*>(lineEnd) + 1;
      splitter.Take({line, static_cast<std::size_t>(next - line)});
      line = next;
    }
    have = static_cast<std::size_t>(end - line);
    std::memmove(buffer.data(), line, have);
  }
  if (have > 0) splitter.Take({buffer.data(), have});
  const bool good = blocks.Finish() && std::ferror(in) == 0;
  std::printf("messages %llu\n", static_cast<unsigned long long>(splitter.messages));
  return std::fclose(out) == 0 && good ? 0 : 1;
}
