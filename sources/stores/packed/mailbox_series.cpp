#include "sources/stores/packed/mailbox_series.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "engine/file_kinds.h"
#include "engine/message_layouts.h"
#include "platform/path.h"
#include "sources/state/maildir_marks.h"

namespace parvane::sources {
namespace {

using engine::SkipReason;
using platform::FileSystem;
using platform::Status;
using platform::StatusCode;

std::u16string LastOf(const std::u16string& name) {
  return name.substr(name.find_last_of(u'/') + 1);
}

bool LiesInMaildir(const std::u16string& name) {
  const std::size_t end = name.find_last_of(u'/');
  const std::u16string folder = end == name.npos ? std::u16string() : LastOf(name.substr(0, end));
  return folder == u"cur" || folder == u"new";
}

}  // namespace

MailboxSeries::MailboxSeries(const std::vector<std::u16string>& files, SeriesWatcher& watcher)
    : _files(files), _watcher(watcher) {}

std::u16string MailboxSeries::Path() const {
  return _entryOfArchive ? platform::JoinPath(_files[_file], _name) : _files[_file];
}

std::uint64_t MailboxSeries::Position() const {
  if (_archive) return _before + _archive->Position();
  return _before + (_plain ? _plain->Position() : 0);
}

bool MailboxSeries::Next() {
  EndMailbox();
  for (; _file < _files.size(); Close()) {
    if (!_begun && !OpenFile()) continue;
    if (_archive ? NextEntry() : std::exchange(_claimed, 0) > 0) {
      if (HowItBegins().kind == Beginning::kText)
        _watcher.NotRead(Path(), SkipReason::kDamagedBeginning, {});
      return _inMailbox = true;
    }
    if (_archive && !_archive->status().ok())
      _watcher.NotRead(_files[_file], SkipReason::kDamagedArchive, _archive->status());
  }
  return false;
}

bool MailboxSeries::OpenFile() {
  FileSystem& files = FileSystem::Default();
  const std::u16string& path = _files[_file];
  _begun = true;
  _size = files.Inspect(path).size;
  _entryOfArchive = false;
  _name = platform::FileNameOfPath(path);
  const auto packing = archives::PackingOfFile(files, path);
  Status failed = packing.status();
  if (packing.ok() && *packing != archives::Packing::kNone) {
    auto archive = archives::OpenArchive(files, path);
    if (archive.ok()) return (_archive = std::move(*archive)) != nullptr;
    failed = archive.status();
  } else if (packing.ok()) {
    auto plain = platform::OpenInputStream(files, path, 64u << 10);
    // An empty mailbox is one all the same.
    _claimed = std::max<std::uint64_t>(_size, 1);
    if (plain.ok()) return (_plain = std::move(*plain)) != nullptr;
    failed = plain.status();
  }
  _watcher.NotRead(path, SkipReason::kUnreadable, failed);
  return false;
}

bool MailboxSeries::NextEntry() {
  archives::Entry entry;
  while (_archive->Next(entry)) {
    _entryOfArchive = !entry.name.empty();
    _name = _entryOfArchive
                ? std::move(entry.name)
                : std::u16string(archives::WithoutPacking(platform::FileNameOfPath(_files[_file])));
    _claimed = entry.size.value_or(0);
    if (IsMailbox()) return true;
  }
  return false;
}

MailboxBeginning MailboxSeries::HowItBegins() {
  const auto bytes = Stream().Buffer();
  return BeginningOf({bytes.data(), bytes.size()});
}

bool MailboxSeries::IsMailbox() {
  const std::u16string last = LastOf(_name);
  const bool named = engine::HasExtension(last, u".mbox");
  const bool expected = named || !_entryOfArchive;
  if (last.starts_with(u"._")) {
    if (named) _watcher.NotRead(Path(), SkipReason::kResourceForkCompanion, {});
    return false;
  }
  const bool empty = Stream().Buffer().empty();
  const Status& why = Stream().status();
  const Beginning kind = HowItBegins().kind;
  // A file of another name may quote from a mailbox farther on.
  const bool mail = kind != Beginning::kOther && (kind != Beginning::kText || expected);
  if (empty ? why.ok() && expected : mail) return true;
  if (!why.ok()) {
    _watcher.NotRead(Path(), SkipReason::kDamagedArchive, why);
  } else {
    _watcher.NotRead(Path(), expected ? SkipReason::kNotAnMbox : ReasonNotToRead(), {});
  }
  return false;
}

SkipReason MailboxSeries::ReasonNotToRead() {
  if (engine::IsNamedLikeAMessage(_name)) return SkipReason::kPackedMessages;
  if (engine::IsNamedLikeAnArchive(_name)) return SkipReason::kCompressed;
  const auto bytes = Stream().Buffer();
  if (!bytes.empty() && engine::IsNamedLikeForeignMail(_name)) return SkipReason::kForeignMail;
  const bool inMaildir = LiesInMaildir(_name);
  const std::u16string last = LastOf(_name);
  const bool message = inMaildir && ParseMaildirName(last).tells;
  const bool begins = (inMaildir || engine::MhNumber(last) > 0) &&
                      engine::BeginsLikeMessage({bytes.data(), bytes.size()});
  return message || begins ? SkipReason::kPackedMessages : SkipReason::kOtherFile;
}

void MailboxSeries::EndMailbox() {
  if (!std::exchange(_inMailbox, false)) return;
  const Status& why = Stream().status();
  if (why.ok()) return;
  const Status told(why.code(),
                    why.message() + ", after " + std::to_string(Stream().Position()) + " bytes");
  _watcher.NotRead(Path(), _archive ? SkipReason::kDamagedArchive : SkipReason::kUnreadable, told);
}

void MailboxSeries::Close() {
  EndMailbox();
  _archive.reset();
  _plain.reset();
  _begun = false;
  _before += std::exchange(_size, 0);
  if (_file < _files.size()) ++_file;
}

}  // namespace parvane::sources
