// Cutting an mbox file into messages, one at a time, in one pass.
//
//   mbox      := line* ; the first line is taken to be a separator, whatever it holds
//   separator := "From " byte*        ends a message, never part of it
//   quoted    := ">"+ "From " byte*   body text; exactly one ">" is removed
//   line end  := LF | CR | CR LF | end of file
//   message   := its lines, each followed by CR LF
//
//   line        read as     separator?
//   From a      From a      yes
//   From        From        no: four bytes
//   >From me    From me     no
//   >>From me   >From me    no
//   >From       >From       no: nothing behind the "From"
//
// Messages are not indexed: a file is read strictly forward.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/input_stream.h"
#include "platform/status.h"
#include "sources/message_buffer.h"

namespace QuelmarMIMEEngineCommon {

using ByteVector = std::vector<char>;

// True for a file that begins with "From ", and for an empty one. False for anything else, also
// for what cannot be read and for directories.
bool IsValidMBOXFile(std::u16string_view path);

// Reads one line, without its end, into `line`. False at the end of the file and on a separator
// line; `line` then still holds what was read.
bool ReadLineMBOX(parvane::platform::InputStream* stream, ByteVector& line);

// Appends the next message to `message` and consumes the separator behind it. Nothing appended
// means that two separators follow each other or that the file has ended.
void ScanMBOXStream(parvane::platform::InputStream* stream, ByteVector& message);

}  // namespace QuelmarMIMEEngineCommon

namespace parvane::sources {

// Where a message stands in the mailbox.
struct MessagePlace {
  std::uint64_t separator = 0;  // of the line in front of it
  std::uint64_t begin = 0;      // its first byte
  std::uint64_t end = 0;        // behind its last, the empty line in front of the next included
};

// Sees the separators that end messages.
class SeparatorWatcher {
 public:
  // `offset` is that of the line in the file; `line` holds until the call returns.
  virtual void SeparatorFound(std::uint64_t offset, std::string_view line, bool afterEmptyLine) = 0;

 protected:
  ~SeparatorWatcher() = default;
};

// ScanMBOXStream, with the separator shown to `watcher` (null: to nobody). Returns the offset in
// the file at which the message begins. Of a message that memory does not suffice for `message`
// keeps only how long it is (lost()); reading then goes on behind it all the same.
std::uint64_t ScanMboxMessage(platform::InputStream& stream, MessageBuffer& message,
                              SeparatorWatcher* watcher);

// One ">" at least, and "From " behind it: text that mail programs keep from being a separator.
bool IsQuotedSeparator(std::string_view line);

enum class MboxProbe { kMbox, kEmpty, kOther, kUnreadable };
// What IsValidMBOXFile looks at; `status` (may be null) says why a file is unreadable.
MboxProbe ProbeMboxFile(std::u16string_view path, platform::Status* status);

}  // namespace parvane::sources
