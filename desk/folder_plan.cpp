#include "desk/folder_plan.h"

#include <algorithm>
#include <map>
#include <set>

#include "desk/modified_utf7.h"

namespace parvane::desk {

using QuelmarMIMEEngineCommon::IAssetFolder;
using QuelmarMIMEEngineCommon::IAssetStore;

namespace {

std::u16string NameOf(const IAssetFolder& folder, FolderPlan::Naming naming) {
  std::u16string name = folder.FolderName().value_or(u"");
  return naming == FolderPlan::Naming::kOfServers ? DecodeModifiedUtf7(name) : name;
}

}  // namespace

std::size_t FolderPlan::AddHolder(std::u16string_view wanted, std::size_t parent) {
  SiblingNames& siblings = _children[parent == kTopFolder ? 0 : parent + 1];
  PlannedFolder folder;
  folder.parent = parent;
  folder.name = siblings.Take(wanted);
  if (parent != kTopFolder) folder.path = _folders[parent].path;
  folder.path.push_back(folder.name);
  if (folder.name != wanted) _renamed.push_back({std::u16string(wanted), folder.path});
  _folders.push_back(std::move(folder));
  _children.emplace_back();
  return _folders.size() - 1;
}

std::size_t FolderPlan::AddFolder(IAssetFolder* source, std::u16string_view wanted,
                                  std::size_t parent) {
  const std::size_t index = AddHolder(wanted, parent);
  PlannedFolder& folder = _folders[index];
  folder.source = source;
  folder.type = source->FolderType();
  folder.bytes =
      static_cast<std::uint64_t>(std::max<std::int64_t>(source->QueryTotalAssetUnits(), 0));
  return index;
}

std::size_t FolderPlan::AddTop(std::u16string_view topName) {
  return topName.empty() ? _commonTop : AddHolder(topName, _commonTop);
}

void FolderPlan::AddTree(IAssetFolder* source, std::u16string_view wanted, std::size_t parent,
                         Naming naming) {
  struct Pending {
    IAssetFolder* source;
    std::size_t parent;
  };
  // No recursion: folders may nest deep.
  std::vector<Pending> pending;  // the next on top
  const auto queueChildren = [&](IAssetFolder* folder, std::size_t index) {
    const std::vector<IAssetFolder*> children = folder->GetSubFolders();
    for (auto child = children.rbegin(); child != children.rend(); ++child)
      pending.push_back({*child, index});
  };
  queueChildren(source, AddFolder(source, wanted, parent));
  while (!pending.empty()) {
    const Pending next = pending.back();
    pending.pop_back();
    queueChildren(next.source, AddFolder(next.source, NameOf(*next.source, naming), next.parent));
  }
}

void FolderPlan::AddStore(const IAssetStore& store, std::u16string_view topName, bool holdsItself,
                          Naming naming) {
  // A store without folders has no place in the PST, not even an empty one by its name.
  const IAssetFolder* root = store.GetStoreRootFolder();
  if (!root || root->GetSubFolders().empty()) return;
  if (!holdsItself) return AddFoldersOf(store, AddTop(topName), naming);
  for (IAssetFolder* folder : root->GetSubFolders()) {
    const bool holdsMail = folder->FolderType() == QuelmarMIMEEngineCommon::kAssetFolderTypeEmail ||
                           !folder->GetSubFolders().empty();
    if (holdsMail) AddTree(folder, topName, _commonTop, naming);
  }
}

void FolderPlan::AddFoldersOf(const IAssetStore& store, std::size_t parent, Naming naming) {
  for (IAssetFolder* folder : store.GetStoreRootFolder()->GetSubFolders())
    AddTree(folder, NameOf(*folder, naming), parent, naming);
}

void FolderPlan::LeaveOut(const std::function<bool(const PlannedFolder&)>& unwanted) {
  std::vector<bool> stays(_folders.size());
  for (std::size_t i = _folders.size(); i-- > 0;) {
    PlannedFolder& folder = _folders[i];
    if (unwanted(folder)) {
      if (folder.TakesMail()) _leftOut.push_back(folder);
      folder.chosen = false;
    } else {
      stays[i] = true;
    }
    // Parents stand before their children, so that all of those have been seen.
    if (stays[i] && folder.parent != kTopFolder) stays[folder.parent] = true;
  }
  std::ranges::reverse(_leftOut);
  for (PlannedFolder& folder : _leftOut) folder.chosen = false;
  std::vector<std::size_t> places(_folders.size(), kTopFolder);
  std::size_t kept = 0;
  std::set<std::vector<std::u16string>> paths;
  for (std::size_t i = 0; i < _folders.size(); ++i) {
    if (!stays[i]) continue;
    places[i] = kept;
    if (_folders[i].parent != kTopFolder) _folders[i].parent = places[_folders[i].parent];
    paths.insert(_folders[i].path);
    if (kept != i) {
      _folders[kept] = std::move(_folders[i]);
      _children[kept + 1] = std::move(_children[i + 1]);
    }
    ++kept;
  }
  _folders.resize(kept);
  _children.resize(kept + 1);
  if (_commonTop != kTopFolder) _commonTop = places[_commonTop];
  std::erase_if(_renamed, [&](const RenamedFolder& one) { return !paths.contains(one.path); });
}

// After the plan is whole, because what is in the PST is known only when it has been opened, and
// that the sources hold mail at all is settled before. A folder renamed here takes its children
// along; one that had been renamed before is told once, with the name it has in the end.
void FolderPlan::Avoid(const FoldersThere& there) {
  if (!there.HasForeign()) return;
  std::map<std::vector<std::u16string>, RenamedFolder*> renamedBefore;
  for (RenamedFolder& renamed : _renamed) renamedBefore.emplace(renamed.path, &renamed);
  std::vector<RenamedFolder> renamedNow;
  for (PlannedFolder& folder : _folders) {
    const std::vector<std::u16string> before = folder.path;
    const std::u16string wanted = folder.name;
    // Parents stand before their children: the path above this one is right already.
    if (folder.parent != kTopFolder) folder.path = _folders[folder.parent].path;
    folder.path.resize(before.size());
    folder.path.back() = folder.name;
    while (there.IsForeign(folder.path)) {
      folder.name = _children[folder.parent == kTopFolder ? 0 : folder.parent + 1].Take(wanted);
      folder.path.back() = folder.name;
    }
    const auto known = renamedBefore.find(before);
    if (known != renamedBefore.end()) {
      known->second->path = folder.path;
    } else if (folder.name != wanted) {
      renamedNow.push_back({wanted, folder.path});
    }
  }
  _renamed.insert(_renamed.end(), renamedNow.begin(), renamedNow.end());
}

const PlannedFolder* FolderPlan::LeftOutOf(const IAssetFolder& source) const {
  const auto found = std::ranges::find(_leftOut, &source, &PlannedFolder::source);
  return found == _leftOut.end() ? nullptr : &*found;
}

std::uint64_t FolderPlan::TotalBytes() const {
  std::uint64_t total = 0;
  for (const PlannedFolder& folder : _folders) total += folder.bytes;
  return total;
}

std::size_t FolderPlan::MailFolders() const {
  return static_cast<std::size_t>(
      std::count_if(_folders.begin(), _folders.end(), [](const auto& f) { return f.TakesMail(); }));
}

}  // namespace parvane::desk
