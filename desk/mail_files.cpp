#include "desk/mail_files.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

#include "engine/file_kinds.h"
#include "engine/message_layouts.h"
#include "platform/file.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using factory::SourceKind;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;

constexpr std::size_t kMostEntriesLookedAt = 300'000;

FileSystem& Files() { return FileSystem::Default(); }

// Calls `mailbox` with each mailbox file, and `messages` with a folder, the number of message files
// in it and their bytes.
class Walk {
 public:
  using Mailbox = std::function<void(const std::u16string&, std::uint64_t)>;
  using Messages = std::function<void(const std::u16string&, std::uint64_t, std::uint64_t)>;

  Walk(SourceKind kind, Mailbox mailbox, Messages messages)
      : _kind(kind), _mailbox(std::move(mailbox)), _messages(std::move(messages)) {}

  // False: it is not over.
  bool Run(const std::u16string& path, const std::function<bool()>& stop) {
    const auto information = Files().Inspect(path);
    if (information.kind == FileKind::kFile) return _mailbox(path, information.size), true;
    std::vector<std::u16string> waiting = {path};
    while (!waiting.empty()) {
      if (stop() || _entries > kMostEntriesLookedAt) return false;
      const std::u16string folder = std::move(waiting.back());
      waiting.pop_back();
      const auto entries = Files().List(folder);
      if (!entries.ok()) continue;
      _entries += entries->size() + 1;
      LookInto(folder, *entries);
      for (const DirectoryEntry& entry : *entries) {
        if (entry.kind == FileKind::kFolder && !entry.link)
          waiting.push_back(platform::JoinPath(folder, entry.name));
      }
    }
    return true;
  }

 private:
  void LookInto(const std::u16string& folder, const std::vector<DirectoryEntry>& entries) {
    std::set<std::u16string_view> names;
    for (const DirectoryEntry& entry : entries) names.insert(entry.name);
    std::uint64_t messages = 0, bytes = 0;
    for (const DirectoryEntry& entry : entries) {
      if (entry.kind != FileKind::kFile) continue;
      if (IsMessage(folder, entry)) {
        ++messages;
        bytes += entry.size;
      } else if (entry.size > 0 && IsMailbox(entry, names)) {
        _mailbox(platform::JoinPath(folder, entry.name), entry.size);
      }
    }
    if (messages > 0) _messages(folder, messages, bytes);
  }

  bool IsMessage(const std::u16string& folder, const DirectoryEntry& entry) const {
    if (_kind == SourceKind::kMh) return engine::MhNumber(entry.name) != 0;
    if (_kind == SourceKind::kEml) return engine::IsLetter(entry);
    if (_kind == SourceKind::kAppleMail)
      return engine::HasExtension(entry.name, u".emlx") && !entry.name.starts_with(u'.');
    if (_kind != SourceKind::kMaildir && _kind != SourceKind::kThunderbird) return false;
    const std::u16string name = platform::FileNameOfPath(folder);
    return (name == u"cur" || name == u"new") && !entry.name.starts_with(u'.');
  }

  // A mailbox of Thunderbird has no extension of its own, or its index beside it.
  bool IsMailbox(const DirectoryEntry& entry, const std::set<std::u16string_view>& names) const {
    if (_kind == SourceKind::kAppleMail) return entry.name == u"mbox";
    if (_kind == SourceKind::kMbox || _kind == SourceKind::kTakeout)
      return engine::HasExtension(entry.name, u".mbox") && !entry.name.starts_with(u"._");
    return _kind == SourceKind::kThunderbird && !entry.name.starts_with(u'.') &&
           (platform::ExtensionOfPath(entry.name).empty() || names.contains(entry.name + u".msf"));
  }

  SourceKind _kind;
  Mailbox _mailbox;
  Messages _messages;
  std::size_t _entries = 0;
};

// Separator lines that follow a blank line or begin the file.
class SeparatorCounter {
 public:
  void Take(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
      if (_atLineStart && !TakeLineStart(text, at)) continue;
      const std::size_t end = text.find('\n', at);
      if (end == text.npos) {
        _lineLength += text.size() - at;
        return;
      }
      _afterBlank = _lineLength + (end - at) <= (end > at && text[end - 1] == '\r' ? 1 : 0);
      at = end + 1;
      _atLineStart = true;
      _matched = _lineLength = 0;
    }
  }
  std::uint64_t count() const { return _count; }

 private:
  static constexpr std::string_view kMark = "From ";

  // The next character of a line's beginning; false: there may be more of it.
  bool TakeLineStart(std::string_view text, std::size_t& at) {
    if (text[at] != kMark[_matched] || !_afterBlank) {
      _atLineStart = false;
      return true;
    }
    ++at;
    ++_lineLength;
    if (++_matched < kMark.size()) return false;
    ++_count;
    _atLineStart = false;
    return at < text.size();
  }

  bool _atLineStart = true;
  bool _afterBlank = true;
  std::size_t _matched = 0;
  std::size_t _lineLength = 0;
  std::uint64_t _count = 0;
};

// False: it was stopped. What cannot be read counts for nothing.
bool CountInMailbox(const std::u16string& path, const std::function<bool()>& stop,
                    std::uint64_t& count) {
  constexpr std::size_t kPiece = 1 << 20;
  auto file = Files().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return true;
  const auto buffer = std::make_unique_for_overwrite<char[]>(kPiece);
  SeparatorCounter counter;
  for (std::uint64_t offset = 0;;) {
    if (stop()) return false;
    const auto read =
        (*file)->ReadAt(offset, std::as_writable_bytes(std::span(buffer.get(), kPiece)));
    if (!read.ok() || *read == 0) break;
    counter.Take({buffer.get(), *read});
    offset += *read;
  }
  count += counter.count();
  return true;
}

}  // namespace

MailExtent ExtentOf(SourceKind kind, const std::u16string& path) {
  MailExtent extent;
  // Maildirs have two folders of files, and are one.
  std::set<std::u16string> folders;
  const bool maildirs = kind == SourceKind::kMaildir || kind == SourceKind::kThunderbird;
  Walk walk(
      kind,
      [&](const std::u16string& mailbox, std::uint64_t size) {
        folders.insert(mailbox);
        extent.bytes += size;
      },
      [&](const std::u16string& folder, std::uint64_t, std::uint64_t bytes) {
        folders.insert(maildirs ? platform::ParentOfPath(folder) : folder);
        extent.bytes += bytes;
      });
  extent.more = !walk.Run(path, [] { return false; });
  extent.folders = folders.size();
  return extent;
}

std::optional<std::uint64_t> CountMail(SourceKind kind, const std::u16string& path,
                                       const std::function<bool()>& stop) {
  if (kind == SourceKind::kArchive) return std::nullopt;
  if (kind == SourceKind::kTakeout && !engine::HasExtension(path, u".mbox") &&
      !Files().FolderExists(path)) {
    return std::nullopt;
  }
  std::uint64_t count = 0;
  bool stopped = false;
  Walk walk(
      kind,
      [&](const std::u16string& mailbox, std::uint64_t) {
        stopped = stopped || !CountInMailbox(mailbox, stop, count);
      },
      [&](const std::u16string&, std::uint64_t messages, std::uint64_t) { count += messages; });
  if (!walk.Run(path, [&] { return stopped || stop(); }) || stopped) return std::nullopt;
  return count;
}

}  // namespace parvane::desk
