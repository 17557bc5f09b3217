#include "sources/stores/apple/apple_layout.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engine/file_kinds.h"
#include "mime/content_coding.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

using platform::DirectoryEntry;
using platform::FileKind;

bool IsUuid(std::u16string_view name) {
  constexpr std::u16string_view kForm = u"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  if (name.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char16_t c = name[i];
    const bool hexadecimal =
        (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    if (kForm[i] == u'-' ? c != u'-' : !hexadecimal) return false;
  }
  return true;
}

// The 10 of "V10"; 0 for another name.
unsigned VersionOf(std::u16string_view name) {
  constexpr std::size_t kMostDigits = 4;
  if (name.size() < 2 || name.size() > 1 + kMostDigits || name.front() != u'V') return 0;
  unsigned version = 0;
  for (const char16_t digit : name.substr(1)) {
    if (digit < u'0' || digit > u'9') return 0;
    version = version * 10 + (digit - u'0');
  }
  return version;
}

}  // namespace

std::u16string MailboxName(std::u16string_view name) {
  return platform::ComposeAccents(engine::IsMailboxFolder(name) ? platform::StemOfPath(name)
                                                                : platform::FileNameOfPath(name));
}

std::u16string AccountName(std::u16string_view folder) {
  if (folder == u"Mailboxes") return u"On My Mac";
  if (IsUuid(folder)) return u"Account " + std::u16string(folder.substr(0, 8));
  for (const std::u16string_view kind : {u"IMAP-", u"POP-", u"EWS-", u"Exchange-"}) {
    const std::size_t at = folder.find(u'@');
    if (!folder.starts_with(kind) || at == folder.npos) continue;
    const std::string address =
        Tessary::ContentCoding::DecodePercent(platform::Utf16ToUtf8(folder.substr(kind.size())));
    // Of "user@here.example@imap.there.example" the user is the address.
    const std::size_t host = address.rfind('@');
    const bool wholeUser = host != address.npos && address.find('@') != host;
    return platform::Utf8ToUtf16(wholeUser ? address.substr(0, host) : address);
  }
  return platform::ComposeAccents(folder);
}

bool IsNamelessAccount(std::u16string_view folder) {
  return IsUuid(folder) || folder == u"Mailboxes";
}

bool IsVersion(std::u16string_view folder) { return VersionOf(folder) > 0; }

bool IsNoMail(std::u16string_view folder) {
  return folder.starts_with(u'.') || folder == u"Attachments" || folder == u"MailData" ||
         folder == u"Bundles";
}

bool HoldsMailboxes(const std::u16string& directory) {
  const auto entries = platform::FileSystem::Default().List(directory);
  return entries.ok() && std::ranges::any_of(*entries, [](const DirectoryEntry& entry) {
           return entry.kind == FileKind::kFolder && engine::IsMailboxFolder(entry.name);
         });
}

bool IsProgramsOwn(std::u16string_view file) {
  constexpr std::u16string_view kNames[] = {u"mbox", u"table_of_contents", u"content_index"};
  constexpr std::u16string_view kExtensions[] = {u".emlx", u".emlxpart", u".plist"};
  const auto hasExtension = [&](std::u16string_view one) {
    return engine::HasExtension(file, one);
  };
  return file.starts_with(u'.') || std::ranges::find(kNames, file) != std::end(kNames) ||
         std::ranges::any_of(kExtensions, hasExtension);
}

std::vector<std::u16string> AccountsIn(std::u16string_view directory, const Entries& entries) {
  std::vector<std::u16string> accounts;
  for (const DirectoryEntry& entry : entries) {
    const bool mayBe = entry.kind == FileKind::kFolder && !IsNoMail(entry.name) &&
                       !engine::IsMailboxFolder(entry.name);
    if (mayBe && HoldsMailboxes(platform::JoinPath(directory, entry.name)))
      accounts.push_back(entry.name);
  }
  return accounts;
}

std::optional<std::u16string> NewestVersion(std::u16string_view directory, const Entries& entries) {
  std::pair<bool, unsigned> best;  // whether it holds accounts, which it is
  std::optional<std::u16string> newest;
  for (const DirectoryEntry& entry : entries) {
    const unsigned version = entry.kind == FileKind::kFolder ? VersionOf(entry.name) : 0;
    if (version == 0) continue;
    const std::u16string path = platform::JoinPath(directory, entry.name);
    const auto inside = platform::FileSystem::Default().List(path);
    const std::pair<bool, unsigned> found(inside.ok() && !AccountsIn(path, *inside).empty(),
                                          version);
    if (newest && found <= best) continue;
    best = found;
    newest = entry.name;
  }
  return newest;
}

}  // namespace parvane::sources
