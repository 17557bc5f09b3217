#include "sources/state/mork/mork_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace parvane::sources::mork {
namespace {

constexpr std::uint64_t kToTheEnd = std::numeric_limits<std::uint64_t>::max();
constexpr std::string_view kGroup = "@$$";

bool Take(CharStream& in, std::string_view text) {
  for (const char c : text) {
    if (in.Peek() != c) return false;
    in.Next();
  }
  return true;
}

// Finds the changes that were begun and never finished, or taken back: the program that wrote the
// file was stopped in between. Their rows must not be read, but whether a group counts is known at
// its end only, and groups are as large as the file; so they are looked for in a pass of their own,
// before the one that reads rows.
//
//   group := "@$${" id "{@" ... "@$$}" id "}@"     counts
//          | "@$${" id "{@" ... "@$$}~~}@"         taken back
//          | "@$${" id "{@" ... (end of file, or another group)     cut off
//
// In values "$" is escaped by a backslash or as "$24", so that no value holds a marker.
class GroupSearch {
 public:
  explicit GroupSearch(CharStream& in) : _in(in) {}

  // False when there are too many.
  bool Run() {
    while (_in.SkipTo('@') && _found.size() <= kMostSkippedGroups) {
      const std::uint64_t at = _in.Position();
      if (Take(_in, kGroup)) Marker(at);
    }
    // Also what follows it: nobody knows where the group would have ended.
    if (_open) Skip(_at, kToTheEnd);
    return _found.size() <= kMostSkippedGroups;
  }
  std::vector<Range> Found() { return std::move(_found); }

 private:
  void Marker(std::uint64_t at) {
    const bool begins = _in.Peek() == '{';
    if (!begins && _in.Peek() != '}') return;
    _in.Next();
    std::uint32_t id = 0;
    if (begins) {
      if (!ReadId(_in, id) || !Take(_in, "{@")) return;
      // The program goes on behind what it left unfinished, with a group of its own.
      if (_open) Skip(_at, at);
      _open = true;
      _at = at;
      _id = id;
      return;
    }
    const bool named = ReadId(_in, id);
    if (!Take(_in, named ? "}@" : "~~}@") || !_open) return;
    if (!named || id != _id) Skip(_at, _in.Position());
    _open = false;
  }

  void Skip(std::uint64_t begin, std::uint64_t end) {
    // Neighbours become one: what is bounded is the number of gaps, not of crashes.
    if (!_found.empty() && _found.back().end == begin) {
      _found.back().end = end;
    } else {
      _found.push_back({begin, end});
    }
  }

  CharStream& _in;
  bool _open = false;  // in a group, which began
  std::uint64_t _at = 0;
  std::uint32_t _id = 0;
  std::vector<Range> _found;
};

}  // namespace

bool CharStream::Fill() {
  _stream.Skip(_at);
  _at = 0;
  while (true) {
    _buffer = _stream.Buffer();
    if (_buffer.empty()) return false;
    // Ranges ascend and the stream only goes forward, so what lies behind is done with. A buffer
    // ends where a range begins: whoever reads characters never sees one of it.
    const std::uint64_t here = _stream.Position();
    while (!_skipped.empty() && _skipped.front().end <= here) _skipped = _skipped.subspan(1);
    if (_skipped.empty()) return true;
    const Range& next = _skipped.front();
    if (here < next.begin) {
      _buffer = _buffer.first(std::min<std::uint64_t>(_buffer.size(), next.begin - here));
      return true;
    }
    _stream.Skip(std::min<std::uint64_t>(_buffer.size(), next.end - here));
  }
}

bool CharStream::SkipTo(char wanted) {
  while (_at < _buffer.size() || Fill()) {
    const char* begin = _buffer.data() + _at;
    const void* found = std::memchr(begin, wanted, _buffer.size() - _at);
    if (found != nullptr) {
      _at += static_cast<std::size_t>(static_cast<const char*>(found) - begin);
      return true;
    }
    _at = _buffer.size();
  }
  return false;
}

bool ReadId(CharStream& in, std::uint32_t& id) {
  constexpr int kMostDigits = 8;
  id = 0;
  int digits = 0;
  for (int digit = HexDigit(in.Peek()); digit >= 0; digit = HexDigit(in.Peek())) {
    in.Next();
    // Goes on to the end of the digits even so: what follows an id too long is no id.
    if (digits <= kMostDigits) ++digits;
    id = id << 4 | static_cast<std::uint32_t>(digit);
  }
  return digits > 0 && digits <= kMostDigits;
}

platform::Result<std::vector<Range>> GroupsToSkip(platform::InputStream& stream) {
  CharStream in(stream, {});
  GroupSearch search(in);
  if (!search.Run())
    return platform::Status(platform::StatusCode::kTooBig, "too many unfinished changes in it");
  if (!stream.status().ok()) return stream.status();
  return search.Found();
}

}  // namespace parvane::sources::mork
