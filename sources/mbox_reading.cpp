#include "sources/mbox_reading.h"

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <span>
#include <string>

#include "platform/stage_times.h"
#include "platform/text.h"
#include "sources/line_cursor.h"

namespace parvane::sources {
namespace {

constexpr std::string_view kFrom = "From ";

bool IsSeparator(std::string_view line) { return line.starts_with(kFrom); }

// Where reading is, in the lines of one message.
struct LinePlace {
  std::size_t start = 0;     // of the line in the message
  std::uint64_t offset = 0;  // and in the file
  bool afterEmptyLine = true;
};

// Reads up to the separator, which it takes as well.
void ReadMessage(LineCursor& cursor, MessageBuffer& message, SeparatorWatcher* watcher,
                 LinePlace& line) {
  while (true) {
    do {
      line.start = message.size();
      line.offset = cursor.Position();
    } while (cursor.CopyPlainLines(message, line.afterEmptyLine));
    // The line goes straight to where it belongs and is taken back when it turns out to be a
    // separator, so that no line, however long, is held twice.
    if (!cursor.AppendLine(message)) return;
    const std::string_view text = message.view().substr(line.start);
    if (IsSeparator(text)) {
      if (watcher) watcher->SeparatorFound(line.offset, text, line.afterEmptyLine);
      message.Cut(line.start);
      return;
    }
    line.afterEmptyLine = text.empty();
    if (IsQuotedSeparator(text)) message.EraseByte(line.start);
    message.Append(kLineEnd);
  }
}

// Goes on where memory did not suffice: to the same end, with nothing kept but the size.
void LoseMessage(LineCursor& cursor, MessageBuffer& message, SeparatorWatcher* watcher,
                 LinePlace line) {
  const std::string_view held = message.view().substr(line.start);
  std::string text(held.substr(0, LineCursor::kLineBeginning));
  std::uint64_t size = line.start + held.size();
  message.Lose(size);
  while (const auto length = cursor.SkipLine(text)) {
    if (IsSeparator(text)) {
      if (watcher) watcher->SeparatorFound(line.offset, text, line.afterEmptyLine);
      break;
    }
    size += *length + kLineEnd.size() - (IsQuotedSeparator(text) ? 1 : 0);
    line.afterEmptyLine = text.empty();
    line.offset = cursor.Position();
    text.clear();
  }
  message.Lose(size);
}

}  // namespace

bool IsQuotedSeparator(std::string_view line) {
  if (line.empty() || line.front() != '>') return false;
  const std::size_t text = line.find_first_not_of('>');
  return text != line.npos && line.substr(text).starts_with(kFrom);
}

std::uint64_t ScanMboxMessage(platform::InputStream& stream, MessageBuffer& message,
                              SeparatorWatcher* watcher) {
  const platform::StageMark mark(platform::Stage::kSplit);
  const bool atStart = stream.Position() == 0;
  LineCursor cursor(stream);
  std::string separator;
  if (atStart) cursor.SkipLine(separator);
  const std::uint64_t messageOffset = cursor.Position();
  LinePlace line;
  try {
    ReadMessage(cursor, message, watcher, line);
  } catch (const std::bad_alloc&) {
    LoseMessage(cursor, message, watcher, line);
  }
  mark.CountBytes(message.size());
  return messageOffset;
}

MboxProbe ProbeMboxFile(std::u16string_view path, platform::Status* status) {
  auto fail = [&](const platform::Status& why) {
    if (status) *status = why;
    return MboxProbe::kUnreadable;
  };
  auto file = platform::FileSystem::Default().Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return fail(file.status());
  std::array<char, 256> head{};
  const auto count = (*file)->ReadAt(0, std::as_writable_bytes(std::span(head)));
  if (!count.ok()) return fail(count.status());
  if (*count == 0) return MboxProbe::kEmpty;
  return IsSeparator({head.data(), *count}) ? MboxProbe::kMbox : MboxProbe::kOther;
}

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

bool IsValidMBOXFile(std::u16string_view path) {
  const auto probe = parvane::sources::ProbeMboxFile(path, nullptr);
  return probe == parvane::sources::MboxProbe::kMbox ||
         probe == parvane::sources::MboxProbe::kEmpty;
}

bool ReadLineMBOX(parvane::platform::InputStream* stream, ByteVector& line) {
  line.clear();
  if (!stream) return false;
  parvane::sources::LineCursor cursor(*stream);
  parvane::sources::MessageBuffer buffer;
  if (!cursor.AppendLine(buffer)) return false;
  std::string_view text = buffer.view();
  const bool separator = parvane::sources::IsSeparator(text);
  if (parvane::sources::IsQuotedSeparator(text)) text.remove_prefix(1);
  line.assign(text.begin(), text.end());
  return !separator;
}

void ScanMBOXStream(parvane::platform::InputStream* stream, ByteVector& message) {
  if (!stream) return;
  parvane::sources::MessageBuffer buffer;
  parvane::sources::ScanMboxMessage(*stream, buffer, nullptr);
  message.insert(message.end(), buffer.view().begin(), buffer.view().end());
}

}  // namespace QuelmarMIMEEngineCommon
