#include "sources/stores/apple/apple_mail_store.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/file_kinds.h"
#include "platform/file.h"
#include "platform/path.h"
#include "sources/mbox_asset_folder.h"
#include "sources/message_file_folder.h"
#include "sources/source_walk.h"
#include "sources/stores/apple/apple_layout.h"
#include "sources/stores/apple/apple_mail_folder.h"
#include "sources/stores/apple/emlx_name.h"
#include "sources/stores/apple/message_list.h"

namespace QuelmarMIMEEngineCommon {

namespace platform = parvane::platform;
using namespace parvane::sources;
using parvane::engine::IsMailboxFolder;
using parvane::engine::SkipReason;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::JoinPath;

namespace {

bool Has(const Entries& entries, std::u16string_view name, FileKind kind) {
  return std::ranges::any_of(entries, [&](const DirectoryEntry& entry) {
    return entry.kind == kind && entry.name == name;
  });
}

// Only the walk's own state is here: folders are the store's.
class TreeWalk {
 public:
  TreeWalk(AssetStoreBase& store, SourceWalk& walk) : _store(store), _walk(walk) {}

  // What is given as the source: a mailbox, what holds mailboxes, or a single message.
  void Top(const std::u16string& path, AssetFolderBase* root) {
    const Entries entries = _walk.Enter(path);
    const platform::FileInformation source = platform::FileSystem::Default().Inspect(path);
    std::u16string name = parvane::engine::NameOfSource(path);
    if (source.kind == FileKind::kFile) {
      auto* folder = _store.MakeFolder<AppleMailFolder>(platform::ParentOfPath(path),
                                                        EmlxName(name).base, &_store, root);
      folder->AddFile(name, source.size);
    } else if (IsMailbox(name, entries)) {
      if (name == u"Messages") name = parvane::engine::NameOfSource(platform::ParentOfPath(path));
      Mailbox(path, name, entries, root);
    } else {
      Container(path, entries, root);
    }
    _walk.Leave();
  }

 private:
  static bool IsMailbox(std::u16string_view name, const Entries& entries) {
    return IsMailboxFolder(name) || Has(entries, u"Messages", FileKind::kFolder) ||
           std::ranges::any_of(entries, [](const DirectoryEntry& entry) {
             return entry.kind == FileKind::kFile && EmlxName(entry.name).isMessage;
           });
  }

  // `name` is that of its directory.
  AssetFolderBase* Mailbox(const std::u16string& path, const std::u16string& name,
                           const Entries& entries, AssetFolderBase* parent) {
    const std::u16string mbox = JoinPath(path, u"mbox");
    const bool hasMbox = IsMailboxFolder(name) && Has(entries, u"mbox", FileKind::kFile);
    const bool exported = hasMbox && std::ranges::none_of(entries, [](const DirectoryEntry& entry) {
                            return entry.kind == FileKind::kFolder && !IsNoMail(entry.name);
                          });
    if (exported) {
      if (!_walk.AcceptMbox(mbox)) return nullptr;
      return _store.MakeFolder<MBOXAssetFolder>(mbox, MailboxName(name), &_store, parent);
    }
    auto* folder = _store.MakeFolder<AppleMailFolder>(path, MailboxName(name), &_store, parent);
    MessageList messages;
    Inside(path, {}, entries, *folder, messages, IsMailboxFolder(name));
    messages.AddTo(*folder);
    if (hasMbox && messages.empty() && _walk.AcceptMbox(mbox)) {
      _store.MakeFolder<MBOXAssetFolder>(mbox, MailboxName(name), &_store, folder);
    } else if (hasMbox) {
      _walk.Skipped(mbox, SkipReason::kOlderCopy);
    }
    return folder;
  }

  // One directory of a mailbox, `below` it. Its own messages lie anywhere in what is `named` like a
  // mailbox; in another directory that has some, there and in "Messages".
  void Inside(const std::u16string& path, const std::u16string& below, const Entries& entries,
              AppleMailFolder& folder, MessageList& messages, bool named) {
    messages.AddDirectory(path, below, entries);
    if (below.empty()) Files(path, entries, &folder);
    for (const DirectoryEntry& entry : entries) {
      if (_walk.Canceled()) return;
      const std::u16string child = JoinPath(path, entry.name);
      if (entry.kind == FileKind::kFile && entry.name.starts_with(u"._")) {
        if (EmlxName(entry.name).isMessage)
          _walk.Skipped(child, SkipReason::kResourceForkCompanion);
      }
      if (entry.kind != FileKind::kFolder || IsNoMail(entry.name)) continue;
      const bool own = !IsMailboxFolder(entry.name) && (named || entry.name == u"Messages");
      if (!own) {
        Directory(child, entry.name, &folder);
        continue;
      }
      const Entries inside = _walk.Enter(child);
      Inside(child, below.empty() ? entry.name : JoinPath(below, entry.name), inside, folder,
             messages, named);
      _walk.Leave();
    }
  }

  // A folder of any kind for a directory; null when there is no mail in it.
  AssetFolderBase* Directory(const std::u16string& path, const std::u16string& name,
                             AssetFolderBase* parent) {
    const Entries entries = _walk.Enter(path);
    AssetFolderBase* folder = nullptr;
    if (IsMailbox(name, entries)) {
      folder = Mailbox(path, name, entries, parent);
    } else {
      folder = _store.MakeFolder<MessageFileFolder>(path, AccountName(name), &_store, parent);
      Container(path, entries, folder);
      if (folder->GetSubFoldersMutable().empty()) {
        parent->DeleteAssetFolder(folder);
        folder = nullptr;
      }
    }
    _walk.Leave();
    return folder;
  }

  // The mailboxes in a directory that has no messages itself become children of `parent`.
  void Container(const std::u16string& path, const Entries& entries, AssetFolderBase* parent) {
    const auto version = NewestVersion(path, entries);
    const std::vector<std::u16string> accounts = AccountsIn(path, entries);
    Files(path, entries, parent);
    std::map<std::u16string, AssetFolderBase*> mailboxes;  // by their names on the disk
    for (const DirectoryEntry& entry : entries) {
      if (entry.kind != FileKind::kFolder || !IsMailboxFolder(entry.name)) continue;
      if (_walk.Canceled()) return;
      AssetFolderBase* folder = Directory(JoinPath(path, entry.name), entry.name, parent);
      if (folder) mailboxes.emplace(platform::StemOfPath(entry.name), folder);
    }
    for (const DirectoryEntry& entry : entries) {
      if (entry.kind != FileKind::kFolder || IsMailboxFolder(entry.name)) continue;
      if (_walk.Canceled()) return;
      const std::u16string child = JoinPath(path, entry.name);
      const auto sibling = mailboxes.find(entry.name);
      if (IsNoMail(entry.name) && sibling == mailboxes.end()) continue;
      const bool soleAccount = accounts.size() == 1 && accounts.front() == entry.name &&
                               mailboxes.empty() && IsNamelessAccount(entry.name);
      if (version && entry.name != *version) {
        if (IsVersion(entry.name) || HoldsMailboxes(child))
          _walk.Skipped(child, SkipReason::kOlderCopy);
      } else if (version || soleAccount) {
        Through(child, parent);
      } else if (sibling != mailboxes.end()) {
        Through(child, sibling->second);
      } else {
        Directory(child, entry.name, parent);
      }
    }
  }

  // A directory that is no folder of its own.
  void Through(const std::u16string& path, AssetFolderBase* parent) {
    Container(path, _walk.Enter(path), parent);
    _walk.Leave();
  }

  // Plain mailboxes are found beside folders that are mailboxes, and in them.
  void Files(const std::u16string& path, const Entries& entries, AssetFolderBase* parent) {
    for (const DirectoryEntry& entry : entries) {
      if (entry.kind != FileKind::kFile || IsProgramsOwn(entry.name)) continue;
      const std::u16string file = JoinPath(path, entry.name);
      if (!IsMailboxFolder(entry.name)) {
        _walk.SkippedByName(file);
      } else if (_walk.AcceptMbox(file)) {
        _store.MakeFolder<MBOXAssetFolder>(file, MailboxName(entry.name), &_store, parent);
      }
    }
  }

  AssetStoreBase& _store;
  SourceWalk& _walk;
};

}  // namespace

AppleMailStore::AppleMailStore(NullableString storeDiskPath)
    : AssetStoreBase(std::move(storeDiskPath), u"Apple Mail") {}

OperationResultCode AppleMailStore::OpenStore(IProgressPresenter* progressPresenter,
                                              ICancelable* cancelable, bool, ILogger*) {
  _storeRootAssetFolder = MakeFolder<MessageFileFolder>(std::nullopt, std::nullopt, this, nullptr);
  SourceWalk walk(progressPresenter, cancelable, Observer());
  walk.TakeSingleMessages();
  const std::u16string path = _storeRootDiskPath.value_or(u"");
  walk.Guard(path, [&] { TreeWalk(*this, walk).Top(path, _storeRootAssetFolder); });
  return walk.Canceled() ? OperationResultCode::Canceled : OperationResultCode::Completed;
}

IAssetFolder* AppleMailStore::GetDefaultFolder(AssetFolderType) { return nullptr; }

}  // namespace QuelmarMIMEEngineCommon
