#include "sources/strict_judge.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <utility>

#include "platform/text.h"
#include "sources/separators.h"

namespace parvane::sources {
namespace {

// As much of a header as is searched; none that counts its message's bytes is longer.
constexpr std::size_t kLongestHeader = 256 << 10;
constexpr std::size_t kLongestSeparator = 512;

// Of a header with CR LF line ends: the number in its Content-Length.
std::optional<std::uint64_t> ContentLengthIn(std::string_view header) {
  constexpr std::string_view kName = "content-length:";
  for (std::size_t at = 0; at < header.size();) {
    const std::size_t end = std::min(header.find("\r\n", at), header.size());
    std::string_view line = header.substr(at, end - at);
    at = end + 2;
    const auto same = [](char a, char b) { return platform::AsciiToLower(a) == b; };
    if (!std::ranges::equal(line.substr(0, kName.size()), kName, same)) continue;
    line.remove_prefix(std::min(line.find_first_not_of(" \t", kName.size()), line.size()));
    std::uint64_t length = 0;
    const auto read = std::from_chars(line.data(), line.data() + line.size(), length);
    if (read.ec == std::errc()) return length;
  }
  return std::nullopt;
}

// Where the body begins in bytes that begin with a header, whatever ends its lines; npos: not
// there.
std::size_t BodyIn(std::string_view bytes) {
  std::size_t best = bytes.npos;
  for (std::string_view end : {"\n\n", "\r\n\r\n", "\r\r", "\n\r\n"}) {
    const std::size_t at = bytes.find(end);
    if (at != bytes.npos) best = std::min(best, at + end.size());
  }
  return best;
}

std::string ReadUpTo(platform::RandomAccessFile& file, std::uint64_t offset, std::size_t size) {
  std::string bytes(size, '\0');
  const auto count = file.ReadAt(offset, std::as_writable_bytes(std::span(bytes)));
  bytes.resize(count.ok() ? *count : 0);
  return bytes;
}

// What stands where a body ends: nothing more, or a separator, an empty line between.
bool EndsABody(std::string_view rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of("\r\n"), rest.size()));
  return rest.empty() || SeparatorHasDate(rest.substr(0, rest.find_first_of("\r\n")));
}

std::string_view LastLineWithText(std::string_view lines) {
  const std::size_t end = lines.find_last_not_of("\r\n");
  if (end == lines.npos) return {};
  const std::size_t before = lines.find_last_of('\n', end);
  return lines.substr(before == lines.npos ? 0 : before + 1, end - before);
}

}  // namespace

StrictJudge::StrictJudge(std::unique_ptr<platform::RandomAccessFile> mailbox, Index index,
                         Refused refused)
    : _mailbox(std::move(mailbox)), _index(std::move(index)), _refused(std::move(refused)) {}

void StrictJudge::Begins(std::string_view line) { _ofPatches = SignsOf(line, {}, true).patch; }

bool StrictJudge::Ends(const SeparatorCandidate& candidate) {
  SeparatorSigns signs = SignsOf(candidate.line, candidate.next, candidate.afterEmptyLine);
  if (_ofPatches) signs.patch = false;
  const auto indexed = _index ? _index(candidate.offset) : std::nullopt;
  if (indexed.value_or(false)) return true;
  // What an index that is right does not list has been deleted, and is in the mailbox all the same.
  bool ends = indexed ? signs.All() : signs.Suffice();
  if (ends && !signs.dated && !signs.bare)
    ends = !AnnouncesQuotedMail(LastLineWithText(candidate.before));
  if (ends && InsideProvenBody(candidate)) ends = false;
  if (!ends && (signs.dated || signs.bare)) _refused(candidate);
  return ends;
}

bool StrictJudge::InsideProvenBody(const SeparatorCandidate& candidate) {
  if (!_mailbox) return false;
  if (_lookedAt != candidate.messageBegin) {
    _lookedAt = candidate.messageBegin;
    _bodyEnd = ProvenEnd(candidate);
  }
  return candidate.offset < _bodyEnd;
}

std::uint64_t StrictJudge::ProvenEnd(const SeparatorCandidate& candidate) {
  constexpr std::string_view kEnd = "\r\n\r\n";
  const std::size_t header = candidate.before.substr(0, kLongestHeader).find(kEnd);
  if (header == std::string::npos) return 0;
  const auto length = ContentLengthIn(candidate.before.substr(0, header));
  const auto size = _mailbox->Size();
  if (!length || !size.ok() || *length > *size) return 0;
  // In the file its lines may end in less.
  const std::size_t body =
      BodyIn(ReadUpTo(*_mailbox, candidate.messageBegin, header + kEnd.size()));
  if (body == std::string::npos) return 0;
  const std::uint64_t end = candidate.messageBegin + body + *length;
  if (end > *size) return 0;
  return EndsABody(ReadUpTo(*_mailbox, end, kLongestSeparator)) ? end : 0;
}

}  // namespace parvane::sources
