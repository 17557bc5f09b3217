#include "sources/stores/maildir/maildir_store.h"

#include <algorithm>
#include <vector>

#include "engine/message_layouts.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::sources {

using namespace QuelmarMIMEEngineCommon;
using engine::MessageLayout;
using platform::DirectoryEntry;
using platform::FileKind;

namespace {

constexpr std::u16string_view kInbox = u"INBOX";
constexpr std::u16string_view kSubfoldersOfKMail = u".directory";
constexpr std::u16string_view kSubfoldersOfThunderbird = u".sbd";
// As deep as directories are walked into.
constexpr std::ptrdiff_t kMostLevels = 100;

// What mail servers and programs keep beside the mail.
constexpr std::u16string_view kNotes[] = {u"dovecot", u"courier", u"subscriptions",
                                          u"maildirfolder", u"maildirsize"};

bool IsNote(std::u16string_view name) {
  if (name.starts_with(u'.')) return true;
  return std::ranges::any_of(kNotes, [&](auto one) { return name.starts_with(one); });
}

bool IsPlace(std::u16string_view name) {
  return name == u"cur" || name == u"new" || name == u"tmp";
}

bool IsMaildir(std::u16string_view directory) {
  platform::FileSystem& files = platform::FileSystem::Default();
  // Which many are not, seen at once.
  if (!files.FolderExists(platform::JoinPath(directory, u"cur")) &&
      !files.FolderExists(platform::JoinPath(directory, u"new"))) {
    return false;
  }
  const auto entries = files.List(directory);
  return entries.ok() && engine::LayoutOf(directory, *entries) == MessageLayout::kMaildir;
}

// Whose subfolders are in there, and nothing else; empty: nobody's.
std::u16string OwnerOf(std::u16string_view path, std::u16string_view name) {
  std::u16string owner;
  if (name.starts_with(u'.') && name.ends_with(kSubfoldersOfKMail)) {
    name.remove_suffix(kSubfoldersOfKMail.size());
    owner = name.substr(std::min<std::size_t>(name.size(), 1));
  } else if (name.ends_with(kSubfoldersOfThunderbird)) {
    owner = name.substr(0, name.size() - kSubfoldersOfThunderbird.size());
  }
  // A maildir may have any name; "cur" alone is a subfolder of that name.
  const auto has = [&](std::u16string_view place) {
    return platform::FileSystem::Default().FolderExists(platform::JoinPath(path, place));
  };
  return has(u"cur") && (has(u"new") || has(u"tmp")) ? std::u16string() : owner;
}

// ".Clients.Acme": "Clients", "Acme".
std::vector<std::u16string> LevelsOf(std::u16string_view name) {
  if (std::ranges::count(name, u'.') > kMostLevels) return {std::u16string(name)};
  std::vector<std::u16string> levels;
  for (std::size_t at = 0; at < name.size();) {
    const std::size_t end = std::min(name.find(u'.', at), name.size());
    if (end > at) levels.emplace_back(name.substr(at, end - at));
    at = end + 1;
  }
  return levels;
}

}  // namespace

OperationResultCode MaildirStore::OpenStore(IProgressPresenter* progressPresenter,
                                            ICancelable* cancelable, bool, ILogger*) {
  auto* root = MakeFolder<MaildirFolder>(u"", this, nullptr);
  _storeRootAssetFolder = root;
  SourceWalk walk(progressPresenter, cancelable, Observer(), engine::MessageLayout::kMaildir);
  const std::u16string path = _storeRootDiskPath.value_or(u"");
  walk.Guard(path, [&] { ReadRoot(path, root, walk); });
  return walk.Canceled() ? OperationResultCode::Canceled : OperationResultCode::Completed;
}

void MaildirStore::ReadRoot(std::u16string_view directory, MaildirFolder* root, SourceWalk& walk) {
  if (!IsMaildir(directory)) return void(ReadDirectory(directory, root, root, walk));
  MaildirFolder* inbox = FolderNamed(kInbox, root);
  ReadDirectory(directory, inbox, root, walk);
  const std::u16string name = platform::FileNameOfPath(directory);
  const bool usual = platform::EqualsIgnoreCase(name, u"Maildir") ||
                     platform::EqualsIgnoreCase(name, u".maildir") || name.empty() ||
                     name.find_first_not_of(u'.') == name.npos;
  if (root->GetSubFoldersMutable().size() == 1 && !usual) inbox->SetName(name);
}

MaildirFolder* MaildirStore::FolderNamed(std::u16string_view name, MaildirFolder* parent) {
  MaildirFolder*& folder = _byName[{parent, std::u16string(name)}];
  if (folder == nullptr) folder = MakeFolder<MaildirFolder>(name, this, parent);
  return folder;
}

void MaildirStore::DropIfEmpty(MaildirFolder* folder, MaildirFolder* parent) {
  if (folder->HasDirectory() || !folder->GetSubFoldersMutable().empty()) return;
  _byName.erase({parent, *folder->FolderName()});
  parent->DeleteAssetFolder(folder);
}

bool MaildirStore::ReadDirectory(std::u16string_view directory, MaildirFolder* folder,
                                 MaildirFolder* children, SourceWalk& walk) {
  const auto entries = walk.Enter(directory);
  if (walk.Canceled()) return false;
  const bool itself = folder && engine::LayoutOf(directory, entries) == MessageLayout::kMaildir;
  if (itself) folder->TakeDirectory(directory, walk);
  for (const DirectoryEntry& entry : entries) {
    if (walk.Canceled()) return false;
    const std::u16string path = platform::JoinPath(directory, entry.name);
    if (entry.kind == FileKind::kFile) {
      if (!IsNote(entry.name)) walk.SkippedByName(path);
    } else if (!itself || !IsPlace(entry.name)) {
      if (!ReadEntry(path, entry.name, children, walk)) return false;
    }
  }
  walk.Leave();
  return true;
}

bool MaildirStore::ReadEntry(std::u16string_view path, std::u16string_view name,
                             MaildirFolder* parent, SourceWalk& walk) {
  if (const std::u16string owner = OwnerOf(path, name); !owner.empty()) {
    MaildirFolder* folder = FolderNamed(owner, parent);
    const bool read = ReadDirectory(path, nullptr, folder, walk);
    DropIfEmpty(folder, parent);
    return read;
  }

  MaildirFolder* above = parent;
  std::u16string own(name);
  if (name.starts_with(u'.') && IsMaildir(path)) {
    std::vector<std::u16string> levels = LevelsOf(name);
    if (!levels.empty()) {
      own = std::move(levels.back());
      levels.pop_back();
    }
    for (const std::u16string& level : levels) above = FolderNamed(level, above);
  }
  MaildirFolder* folder = FolderNamed(own, above);
  // Two maildirs of one name, in different ways of nesting.
  if (folder->HasDirectory() && IsMaildir(path))
    folder = MakeFolder<MaildirFolder>(own, this, above);
  const bool read = ReadDirectory(path, folder, folder, walk);
  DropIfEmpty(folder, above);
  return read;
}

}  // namespace parvane::sources
