#include "sources/mailbox_cutting.h"

#include <new>
#include <span>
#include <utility>

#include "platform/file.h"
#include "platform/stage_times.h"
#include "sources/separators.h"

namespace parvane::sources {
namespace {

constexpr std::string_view kFrom = "From ";
// As far as a file that does not begin with a separator is searched for one.
constexpr std::size_t kBeginningSearched = 64 << 10;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Goes on where memory did not suffice, to the next line that is a separator beyond doubt, with
// nothing kept but the size.
void LoseRest(LineCursor& cursor, MessageBuffer& message, std::string_view separator) {
  std::uint64_t size = message.size();
  message.Lose(size);
  std::string line;
  bool afterEmptyLine = false;
  while (const auto length = cursor.SkipLine(line)) {
    const bool ends =
        separator == kFrom ? afterEmptyLine && SeparatorHasDate(line) : line == separator;
    if (ends) break;
    afterEmptyLine = line.empty();
    size += *length + kLineEnd.size();
    line.clear();
  }
  message.Lose(size);
}

}  // namespace

std::uint64_t JudgedMailbox::Read(platform::InputStream& stream, MessageBuffer& message,
                                  SeparatorWatcher* watcher) {
  const platform::StageMark mark(platform::Stage::kSplit);
  const bool atStart = stream.Position() == 0;
  LineCursor cursor(stream);
  std::string first;
  if (atStart) {
    cursor.SkipLine(first);
    _judge.Begins(first);
  }
  _begin = _waiting ? _waiting->offset : cursor.Position();
  _start = 0;
  _afterEmptyLine = false;
  _inHand = _waiting.has_value();
  if (_inHand) {
    _offset = _begin;
    message.Append(_waiting->text);
    _waiting.reset();
  }
  try {
    ReadLines(cursor, message, watcher);
  } catch (const std::bad_alloc&) {
    LoseRest(cursor, message, kFrom);
  }
  mark.CountBytes(message.size());
  return _begin;
}

void JudgedMailbox::ReadLines(LineCursor& cursor, MessageBuffer& message,
                              SeparatorWatcher* watcher) {
  while (true) {
    if (!std::exchange(_inHand, false)) {
      do {
        _start = message.size();
        _offset = cursor.Position();
      } while (cursor.CopyPlainLines(message, _afterEmptyLine));
      if (!cursor.AppendLine(message)) return;
    }
    const std::string_view line = message.view().substr(_start);
    if (line.starts_with(kFrom)) {
      if (EndsHere(cursor, message, watcher)) return;
      continue;
    }
    _afterEmptyLine = line.empty();
    if (IsQuotedSeparator(line)) message.EraseByte(_start);
    message.Append(kLineEnd);
  }
}

bool JudgedMailbox::EndsHere(LineCursor& cursor, MessageBuffer& message,
                             SeparatorWatcher* watcher) {
  const std::size_t length = message.size() - _start;
  message.Append(kLineEnd);
  const std::size_t next = message.size();
  const std::uint64_t nextOffset = cursor.Position();
  const bool more = cursor.AppendLine(message);
  const std::string_view all = message.view();
  const SeparatorCandidate candidate{
      _begin,         _offset, all.substr(_start, length), all.substr(next), all.substr(0, _start),
      _afterEmptyLine};
  if (_judge.Ends(candidate)) {
    if (watcher) watcher->SeparatorFound(_offset, candidate.line, _afterEmptyLine);
    if (more) _waiting = Line{nextOffset, std::string(candidate.next)};
    message.Cut(_start);
    return true;
  }
  _start = next;
  _offset = nextOffset;
  _afterEmptyLine = false;
  _inHand = more;
  return false;
}

std::uint64_t ScanMmdfMessage(platform::InputStream& stream, MessageBuffer& message,
                              SeparatorWatcher* watcher) {
  const platform::StageMark mark(platform::Stage::kSplit);
  LineCursor cursor(stream);
  std::uint64_t begin = cursor.Position();
  try {
    while (true) {
      const std::size_t start = message.size();
      const std::uint64_t offset = cursor.Position();
      if (!cursor.AppendLine(message)) break;
      const std::string_view line = message.view().substr(start);
      if (line == kMmdfSeparator) {
        message.Cut(start);
        if (start > 0) break;
        begin = cursor.Position();
      } else if (start == 0 && line.starts_with(kFrom)) {
        if (watcher) watcher->SeparatorFound(offset, line, true);
        message.Cut(0);
        begin = cursor.Position();
      } else {
        message.Append(kLineEnd);
      }
    }
  } catch (const std::bad_alloc&) {
    LoseRest(cursor, message, kMmdfSeparator);
  }
  mark.CountBytes(message.size());
  return begin;
}

MailboxBeginning BeginningOf(std::string_view start) {
  if (start.empty() || start.starts_with(kFrom)) return {Beginning::kSeparator, 0};
  const std::string_view firstLine = start.substr(0, start.find_first_of("\r\n"));
  if (firstLine == kMmdfSeparator) return {Beginning::kMmdf, 0};
  const std::size_t mark = start.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const std::size_t text = start.find_first_not_of(" \t\r\n", mark);
  if (text == start.npos) return {};
  for (std::size_t at = start.find(kFrom, mark); at != start.npos; at = start.find(kFrom, at + 1)) {
    const bool startsLine = at == mark || start[at - 1] == '\n' || start[at - 1] == '\r';
    const std::string_view line = start.substr(at, start.find_first_of("\r\n", at) - at);
    if (!startsLine) continue;
    if (at == text) return {Beginning::kMark, at};
    if (SeparatorHasDate(line)) return {Beginning::kText, at};
  }
  return {};
}

Beginning LookAtBeginning(std::u16string_view path) {
  auto file = platform::FileSystem::Default().Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return Beginning::kOther;
  std::string start(kBeginningSearched, '\0');
  const auto count = (*file)->ReadAt(0, std::as_writable_bytes(std::span(start)));
  start.resize(count.ok() ? *count : 0);
  return BeginningOf(start).kind;
}

}  // namespace parvane::sources
