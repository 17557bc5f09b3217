#include "cli/folder_plan.h"

#include <algorithm>

namespace parvane::cli {

using QuelmarMIMEEngineCommon::IAssetFolder;
using QuelmarMIMEEngineCommon::IAssetStore;

std::size_t FolderPlan::AddFolder(std::u16string_view wanted, std::size_t parent) {
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
  const std::size_t index = AddFolder(wanted, parent);
  PlannedFolder& folder = _folders[index];
  folder.source = source;
  folder.type = source->FolderType();
  folder.bytes =
      static_cast<std::uint64_t>(std::max<std::int64_t>(source->QueryTotalAssetUnits(), 0));
  return index;
}

void FolderPlan::AddTree(IAssetFolder* source, std::u16string_view wanted, std::size_t parent) {
  struct Pending {
    IAssetFolder* source;
    std::size_t parent;
  };
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
    const std::u16string name = next.source->FolderName().value_or(u"");
    queueChildren(next.source, AddFolder(next.source, name, next.parent));
  }
}

void FolderPlan::AddStore(const IAssetStore& store, std::u16string_view topName, bool holdsItself) {
  const IAssetFolder* root = store.GetStoreRootFolder();
  if (!root || root->GetSubFolders().empty()) return;
  const bool ownTop = !holdsItself && !topName.empty();
  const std::size_t parent = ownTop ? AddFolder(topName, _commonTop) : _commonTop;
  for (IAssetFolder* folder : root->GetSubFolders())
    AddTree(folder, holdsItself ? std::u16string(topName) : folder->FolderName().value_or(u""),
            parent);
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

}  // namespace parvane::cli
