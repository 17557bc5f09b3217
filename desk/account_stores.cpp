#include "desk/account_stores.h"

#include <algorithm>

#include "desk/folder_evidence.h"
#include "desk/source_kinds.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"

namespace parvane::desk {
namespace {

using engine::SkipReason;
using factory::SourceKind;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;
using platform::Status;

FileSystem& Files() { return FileSystem::Default(); }

// Thunderbird keeps an account's folders as mailboxes or, if its user wants that, as maildirs.
SourceKind KindOfAccount(const std::u16string& path) {
  const auto entries = Files().List(path);
  const auto kind = entries.ok() ? KindOf(LookInto(path, *entries)) : std::nullopt;
  return kind == SourceKind::kMaildir ? SourceKind::kMaildir : SourceKind::kThunderbird;
}

// To an account on a disk that is not there.
void NoteIfDangling(const std::u16string& path, const DirectoryEntry& entry, SourcePlan& plan) {
  if (entry.link && entry.kind == FileKind::kNone)
    plan.leftBehind.push_back({path, SkipReason::kDanglingLink, {}});
}

}  // namespace

Status AddAccountsOfProfile(const std::u16string& profile, SourcePlan& plan) {
  const std::vector<MailAccount> accounts = AccountsOf(profile);
  auto entries = Files().List(profile);
  if (!entries.ok()) return entries.status();
  for (std::u16string_view name : {u"Mail", u"ImapMail"}) {
    const auto entry = std::ranges::find(*entries, name, &DirectoryEntry::name);
    if (entry == entries->end()) continue;
    const std::u16string path = platform::JoinPath(profile, name);
    if (entry->kind == FileKind::kFolder) AddAccounts(path, accounts, plan);
    NoteIfDangling(path, *entry, plan);
  }
  for (const MailAccount& account : accounts) {
    if (account.outside) plan.leftBehind.push_back({account.folder, SkipReason::kElsewhere, {}});
  }
  return {};
}

void AddAccounts(const std::u16string& container, const std::vector<MailAccount>& accounts,
                 SourcePlan& plan) {
  auto entries = Files().List(container);
  if (!entries.ok()) {
    plan.leftBehind.push_back({container, SkipReason::kUnreadable, entries.status()});
    return;
  }
  for (const DirectoryEntry& entry : *entries) {
    const std::u16string path = platform::JoinPath(container, entry.name);
    NoteIfDangling(path, entry, plan);
    if (entry.kind != FileKind::kFolder) continue;
    const std::u16string canonical = platform::CanonicalPath(path);
    const auto account = std::ranges::find_if(accounts, [&](const MailAccount& one) {
      return one.folder == canonical && !one.name.empty();
    });
    plan.stores.push_back(
        {KindOfAccount(path), path, account == accounts.end() ? entry.name : account->name});
  }
}

}  // namespace parvane::desk
