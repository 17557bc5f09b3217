#include "sources/message_file_reading.h"

#include <new>
#include <string_view>

#include "sources/line_cursor.h"

namespace parvane::sources {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsSeparator(std::string_view line) {
  if (line.starts_with('>')) line.remove_prefix(1);
  return line.starts_with("From ");
}

// Takes a mark and a separator out of what is all of the message so far: its first line.
void CleanFirstLine(MessageBuffer& message, MessageFileStart& start) {
  std::string_view line = message.view();
  if (line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  const std::size_t taken = message.size() - line.size();
  if (IsSeparator(line)) {
    start.separator = line.substr(0, LineCursor::kLineBeginning);
    message.Cut(0);
    return;
  }
  message.EraseFront(taken);
  message.Append(kLineEnd);
}

void ReadLines(LineCursor& cursor, MessageBuffer& message, MessageFileStart& start) {
  if (!cursor.AppendLine(message)) return;
  CleanFirstLine(message, start);
  bool lastWasEmpty = false;
  while (true) {
    while (cursor.CopyPlainLines(message, lastWasEmpty)) {
    }
    if (!cursor.AppendLine(message)) return;
    message.Append(kLineEnd);
  }
}

void LoseMessage(LineCursor& cursor, MessageBuffer& message) {
  std::uint64_t size = message.size();
  message.Lose(size);
  std::string beginning;
  while (const auto length = cursor.SkipLine(beginning)) {
    size += *length + kLineEnd.size();
    beginning.clear();
  }
  message.Lose(size);
}

}  // namespace

MessageFileStart ReadMessageFile(platform::InputStream& stream, MessageBuffer& message) {
  MessageFileStart start;
  LineCursor cursor(stream);
  try {
    ReadLines(cursor, message, start);
  } catch (const std::bad_alloc&) {
    LoseMessage(cursor, message);
  }
  return start;
}

}  // namespace parvane::sources
