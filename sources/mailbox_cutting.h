// Cutting a mailbox into messages otherwise than by every line that begins with "From ".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/input_stream.h"
#include "sources/line_cursor.h"
#include "sources/mbox_reading.h"
#include "sources/message_buffer.h"

namespace parvane::sources {

// A line that begins with "From ", and what stands around it; holds while it is judged.
struct SeparatorCandidate {
  std::uint64_t messageBegin = 0;  // in the file, of the message that it may end
  std::uint64_t offset = 0;        // in the file
  std::string_view line;
  std::string_view next;    // the line behind it; empty at the end of the file
  std::string_view before;  // the message's lines so far, each with CR LF
  bool afterEmptyLine = false;
};

class SeparatorJudge {
 public:
  // The mailbox begins with this line.
  virtual void Begins(std::string_view line) = 0;
  // Whether the line ends the message.
  virtual bool Ends(const SeparatorCandidate& candidate) = 0;

 protected:
  ~SeparatorJudge() = default;
};

// Reads messages one after the other, as ScanMboxMessage does, but for what the judge takes for
// text: such a line is one of the message's, as it stands.
class JudgedMailbox {
 public:
  explicit JudgedMailbox(SeparatorJudge& judge) : _judge(judge) {}

  // Returns where the message begins. The line behind a separator, which is read to judge it, waits
  // here for the next call.
  std::uint64_t Read(platform::InputStream& stream, MessageBuffer& message,
                     SeparatorWatcher* watcher);
  // Nothing waits, and the stream has ended.
  bool AtEnd(platform::InputStream& stream) const { return !_waiting && stream.Buffer().empty(); }

 private:
  struct Line {
    std::uint64_t offset = 0;
    std::string text;
  };

  void ReadLines(LineCursor& cursor, MessageBuffer& message, SeparatorWatcher* watcher);
  // The line in hand begins at `start` of the message; true when it ends the message, which is then
  // without it. Else the line behind it is in hand, if there is one.
  bool EndsHere(LineCursor& cursor, MessageBuffer& message, SeparatorWatcher* watcher);

  SeparatorJudge& _judge;
  std::optional<Line> _waiting;
  std::uint64_t _begin = 0;  // of the message in hand
  // Of the line in hand.
  std::size_t _start = 0;
  std::uint64_t _offset = 0;
  bool _afterEmptyLine = true;
  bool _inHand = false;
};

// The next message of a mailbox of the kind MMDF: lines of four bytes 0x01 stand before and behind
// each. A separator line "From " in front of it is none of its lines; the watcher is shown what it
// says.
std::uint64_t ScanMmdfMessage(platform::InputStream& stream, MessageBuffer& message,
                              SeparatorWatcher* watcher);
inline constexpr std::string_view kMmdfSeparator = "\x01\x01\x01\x01";

// What stands at a mailbox's beginning.
enum class Beginning {
  kSeparator,  // as it should be; also an empty file
  kMmdf,
  kMark,   // a byte order mark in front of the separator, or of blank lines in front of it
  kText,   // something else, and a separator with a date further on
  kOther,  // nothing of all that: no mailbox
};
struct MailboxBeginning {
  Beginning kind = Beginning::kOther;
  std::uint64_t separator = 0;  // where the first one stands
};
// `start` is what the file begins with, as much as is to be searched.
MailboxBeginning BeginningOf(std::string_view start);
// Of a file; kOther where it cannot be read.
Beginning LookAtBeginning(std::u16string_view path);

}  // namespace parvane::sources
