// The characters of a Mork file, without those of transactions that never ended.
//
// A change is written behind the rest as a group, "@$${1F{@" ... "@$$}1F}@". A crash leaves one
// without an end, a program that thinks better of it ends it by "@$$}~~}@": neither counts. Whether
// a group counts is known at its end only, so the groups are looked for before anything is read.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "platform/input_stream.h"
#include "platform/status.h"

namespace parvane::sources::mork {

// Opens the file anew, to be read from its beginning.
using Opener = std::function<platform::Result<std::unique_ptr<platform::InputStream>>()>;

struct Range {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;  // not in it
};

// Where the groups stand that do not count, in order. kTooBig when there are more than any program
// leaves behind.
platform::Result<std::vector<Range>> GroupsToSkip(platform::InputStream& stream);
inline constexpr std::size_t kMostSkippedGroups = 65'536;

class CharStream {
 public:
  static constexpr char kEnd = '\0';

  CharStream(platform::InputStream& stream, std::span<const Range> skipped)
      : _stream(stream), _skipped(skipped) {}

  // kEnd at the end. NUL bytes, which have no place in such a file, end it too.
  char Peek() { return _at < _buffer.size() || Fill() ? _buffer[_at] : kEnd; }
  char Next() {
    const char c = Peek();
    if (c != kEnd) ++_at;
    return c;
  }
  // To the next of these, which is not taken. False when there is none.
  bool SkipTo(char wanted);
  std::uint64_t Position() const { return _stream.Position() + _at; }

 private:
  bool Fill();

  platform::InputStream& _stream;
  std::span<const Range> _skipped;  // those still to come
  std::span<const char> _buffer;
  std::size_t _at = 0;
};

// Its value, or -1.
constexpr int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}
// Hexadecimal digits from here on, eight at most; false when there is none, or more of them.
bool ReadId(CharStream& in, std::uint32_t& id);

}  // namespace parvane::sources::mork
