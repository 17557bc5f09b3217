#include "sources/stores/packed/message_series.h"

#include <algorithm>
#include <utility>

#include "sources/line_cursor.h"
#include "sources/separators.h"

namespace parvane::sources {
namespace {

constexpr std::size_t kReportedLine = 256;
// Empty messages in a row, or a message full of doubtful lines, tell of no more than this.
constexpr std::size_t kMostDoubts = 100;

}  // namespace

bool MessageSeries::Next(MessageBuffer& message) {
  _doubts.clear();
  while (_open || BeginMailbox()) {
    do {
      _separator = std::exchange(_nextSeparator, {});
      const bool suspected = std::exchange(_suspected, false);
      Doubt suspect = _suspect;
      _offset = Scan(message);
      if (suspected)
        TellOf(std::move(suspect), message.view().substr(0, message.view().find('\r')));
    } while (message.empty() && message.lost() == 0 && !AtEnd());
    if (!message.empty() || message.lost() > 0) {
      const std::uint64_t position = std::max(_mailboxes.Position(), _position);
      _packed = position - std::exchange(_position, position);
      return true;
    }
    _open = false;
  }
  return false;
}

// The first line of a mailbox is not shown to the watcher.
bool MessageSeries::BeginMailbox() {
  if (!_mailboxes.Next()) return false;
  _open = true;
  _suspected = false;
  ++_mailbox;
  platform::InputStream& stream = _mailboxes.Stream();
  const MailboxBeginning beginning = _mailboxes.HowItBegins();
  _ofMmdf = beginning.kind == Beginning::kMmdf;
  _judged.reset();
  if (_ofMmdf) return true;
  stream.Skip(beginning.separator);
  const auto bytes = stream.Buffer();
  const std::string_view text(bytes.data(), std::min(bytes.size(), kReportedLine));
  _nextSeparator = text.substr(0, text.find_first_of("\r\n"));
  _ofPatches = SignsOf(_nextSeparator, {}, true).patch;
  // Only at its very beginning a mailbox's first line is passed over by those who read messages.
  std::string line;
  if (beginning.separator > 0) LineCursor(stream).SkipLine(line);
  if (_rule != engine::SeparatorRule::kStrict) return true;
  // There is neither a second look into what is read from front to back, nor an index of it.
  _judge.emplace(
      nullptr, [](std::uint64_t) { return std::nullopt; },
      [this](const SeparatorCandidate& candidate) {
        Add({candidate.offset, engine::SuspiciousSeparatorReason::kTakenAsText,
             std::string(candidate.line.substr(0, kReportedLine)), true});
      });
  if (beginning.separator > 0) _judge->Begins(line);
  _judged.emplace(*_judge);
  return true;
}

std::uint64_t MessageSeries::Scan(MessageBuffer& message) {
  platform::InputStream& stream = _mailboxes.Stream();
  if (_ofMmdf) {
    const std::uint64_t begin = ScanMmdfMessage(stream, message, this);
    _separator = std::exchange(_nextSeparator, {});  // it stood in front of this message
    return begin;
  }
  return _judged ? _judged->Read(stream, message, this) : ScanMboxMessage(stream, message, this);
}

bool MessageSeries::AtEnd() {
  platform::InputStream& stream = _mailboxes.Stream();
  return _judged ? _judged->AtEnd(stream) : stream.Buffer().empty();
}

void MessageSeries::SeparatorFound(std::uint64_t offset, std::string_view line,
                                   bool afterEmptyLine) {
  _nextSeparator = line.substr(0, kReportedLine);
  if (_judged || _ofMmdf) return;
  const auto signs = SignsOf(line, {}, afterEmptyLine);
  if (signs.dated && afterEmptyLine && (!signs.patch || _ofPatches)) return;
  _suspected = true;
  _afterEmptyLine = afterEmptyLine;
  _suspect = {offset, {}, _nextSeparator, false};
}

void MessageSeries::TellOf(Doubt suspect, std::string_view nextLine) {
  const auto signs = SignsOf(suspect.line, nextLine, _afterEmptyLine);
  suspect.reason = signs.patch    ? engine::SuspiciousSeparatorReason::kPatch
                   : !signs.dated ? engine::SuspiciousSeparatorReason::kNoDate
                                  : engine::SuspiciousSeparatorReason::kNoEmptyLineBefore;
  suspect.strict = !signs.Suffice();
  Add(std::move(suspect));
}

void MessageSeries::Add(Doubt doubt) {
  if (_doubts.size() < kMostDoubts) _doubts.push_back(std::move(doubt));
}

}  // namespace parvane::sources
