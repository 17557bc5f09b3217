#include "sources/state/mailbox_index.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "mime/mime_header.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/state/fallback_date.h"
#include "sources/state/keywords.h"
#include "sources/state/mozilla_flags.h"

namespace parvane::sources {
namespace {

using engine::IndexFault;
using engine::StateOrigin;
using platform::FileSystem;

// Enough for the first lines of a message, where its Message-ID mostly is.
constexpr std::size_t kLook = 16u << 10;
// Of one message in a folder; each is looked up in the mailbox, for each of the others.
constexpr std::size_t kMostCopies = 64;
// So many rows are compared with the mailbox before any is believed.
constexpr std::size_t kSamples = 16;

std::uint64_t IdHashIn(const StateHeaders& headers) {
  std::string_view id = headers.Raw(StateField::kMessageId);
  if (const std::size_t open = id.find('<'); open != id.npos) id.remove_prefix(open + 1);
  return HashOfMessageId(id.substr(0, id.find('>')));
}

// Windows takes either.
bool IsSeparator(char16_t c) { return c == u'/' || c == platform::kPathSeparator; }

bool HasPart(std::u16string_view path, std::u16string_view part) {
  for (std::size_t at = path.find(part); at != path.npos; at = path.find(part, at + 1)) {
    const bool begins = at == 0 || IsSeparator(path[at - 1]);
    const std::size_t end = at + part.size();
    if (begins && (end == path.size() || IsSeparator(path[end]))) return true;
  }
  return false;
}

std::optional<engine::Importance> ImportanceOf(std::uint8_t priority) {
  if (priority == 2 || priority == 3) return engine::Importance::kLow;
  if (priority == 4) return engine::Importance::kNormal;
  if (priority == 5 || priority == 6) return engine::Importance::kHigh;
  return {};
}

void ReadRow(const ThunderbirdIndex& index, const ThunderbirdIndex::Row& row,
             const engine::StateWishes& wishes, engine::MessageState& state) {
  constexpr auto kOrigin = StateOrigin::kIndex;
  ReadMozillaFlags(row.flags, kOrigin, state);
  if (row.junk) state.junk.Learn(*row.junk, kOrigin);
  LearnDate(platform::FileTimeFromTicks((platform::kUnixEpochInFileTimeSeconds + row.received) *
                                        platform::kTicksPerSecond),
            kOrigin, state);
  Categories categories;
  ReadKeywords(index.KeywordsOf(row), KeywordKind::kThunderbird, wishes, kOrigin, state,
               categories);
  ReadKeywords(OldLabel(row.label), KeywordKind::kThunderbird, wishes, kOrigin, state, categories);
  state.moreCategories = categories.more();
  state.categories.Learn(categories.Take(), kOrigin);
  if (const auto importance = ImportanceOf(row.priority))
    state.importance.Learn(*importance, kOrigin);
}

}  // namespace

MailboxIndex::MailboxIndex(std::u16string mailbox, Kind kind)
    : _kind(kind),
      _mailbox(std::move(mailbox)),
      _path(_mailbox + u".msf"),
      _copy(HasPart(_mailbox, u"ImapMail")) {
  const bool there = FileSystem::Default().FileExists(_path);
  if (there) {
    auto index = ThunderbirdIndex::Read(OpenerOf(_path));
    if (index.ok()) {
      _index.emplace(*std::move(index));
    } else {
      _status = index.status();
      _fault = _status.code() == platform::StatusCode::kTooBig ? IndexFault::kTooLarge
                                                               : IndexFault::kUnreadable;
    }
  }
  if (_index) Judge();
  if (!there && _copy) _fault = IndexFault::kMissing;
}

bool MailboxIndex::KnowsDirectory(const std::u16string& directory) {
  return HasPart(directory, u"ImapMail") || FileSystem::Default().FileExists(directory + u".msf");
}

// Of folders kept here, the size must be that of the file, and samples must stand where they are
// said to. A copy of a server's folder is current whenever it lists anything: it is written all the
// time, and says nothing of the file.
void MailboxIndex::Judge() {
  _copy = _copy || _index->folder().onServer;
  const std::vector<ThunderbirdIndex::Row>& rows = _index->rows();
  if (_copy) {
    if (rows.empty()) _fault = IndexFault::kStale;
  } else if (_kind == Kind::kFile) {
    const auto size = FileSystem::Default().Inspect(_mailbox).size;
    bool current = _index->folder().mailboxSize == size;
    const std::size_t step = std::max<std::size_t>(rows.size() / kSamples, 1);
    for (std::size_t i = 0; current && i < rows.size(); i += step) {
      current =
          rows[i].offset == ThunderbirdIndex::kNowhere || StandsAt(rows[i].offset, rows[i].idHash);
    }
    if (!current) _fault = IndexFault::kStale;
  }
  if (_fault) _index.reset();
}

bool MailboxIndex::StandsAt(std::uint64_t offset, std::uint64_t idHash) {
  if (!_file) {
    auto opened = FileSystem::Default().Open(_mailbox, FileSystem::OpenMode::kRead);
    if (!opened.ok()) return false;
    _file = std::move(opened).value();
  }
  std::array<char, kLook> look;
  const auto count = _file->ReadAt(offset, std::as_writable_bytes(std::span(look)));
  if (!count.ok()) return false;
  std::string_view text(look.data(), *count);
  if (!text.starts_with("From ")) return false;
  text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
  Tessary::MimeHeader header;
  header.Load(text);
  const std::uint64_t found = IdHashIn(StateHeaders(header, text));
  return idHash == 0 || found == 0 || found == idHash;
}

MailboxIndex::Found MailboxIndex::Find(const MessagePlace& place, std::uint64_t idHash) {
  const ThunderbirdIndex::Row* here = _index->At(place.separator);
  if (here && (here->idHash == 0 || idHash == 0 || here->idHash == idHash)) return {here, false};
  // Without an id it may be a piece of a message, cut off by a line that looks like a separator.
  if (idHash == 0) return {};
  const std::uint64_t size = place.end - place.begin;
  const auto rows = _index->WithMessageId(idHash, kMostCopies);
  bool gone = rows.empty();
  for (const ThunderbirdIndex::Row* row : rows) {
    constexpr std::uint64_t kEmptyLine = 2;
    if (row->offset != ThunderbirdIndex::kNowhere && StandsAt(row->offset, idHash)) {
      gone = true;  // that one took its place
    } else if (row->size <= size && size - row->size <= kEmptyLine) {
      return {row, false};
    }
  }
  return {nullptr, gone};
}

engine::MessageState MailboxIndex::StateOf(const MessagePlace& place, const StateHeaders& headers,
                                           const engine::StateWishes& wishes) {
  engine::MessageState state;
  if (_index) {
    const Found found = Find(place, IdHashIn(headers));
    const bool marked = headers.Has(StateField::kMozillaStatus);
    if (found.row) ReadRow(*_index, *found.row, wishes, state);
    // Nor is it a message where others have been marked and this one has not.
    if (found.gone && (marked || !_marks)) state.deleted.Learn(true, StateOrigin::kIndex);
    _marks |= marked;
  }
  ReadHeaderState(headers, _copy ? MailboxWriter::kThunderbirdCopy : MailboxWriter::kThunderbird,
                  wishes, state);
  return state;
}

engine::MessageState MailboxIndex::StateOfFile(const StateHeaders& headers,
                                               const engine::StateWishes& wishes) {
  engine::MessageState state;
  const auto readHeader = [&] {
    ReadHeaderState(headers, _copy ? MailboxWriter::kThunderbirdCopy : MailboxWriter::kThunderbird,
                    wishes, state);
  };
  // Nothing tells whether the index of a directory is current: of folders kept here it is asked for
  // what the messages do not say themselves.
  if (!_copy) readHeader();
  const std::uint64_t idHash = IdHashIn(headers);
  if (_index && idHash != 0) {
    const auto rows = _index->WithMessageId(idHash, kMostCopies);
    if (rows.size() == 1) ReadRow(*_index, *rows.front(), wishes, state);
  }
  if (_copy) readHeader();
  return state;
}

}  // namespace parvane::sources
