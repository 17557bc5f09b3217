// The folders of a store: PstStore's functions for them.

#include <algorithm>

#include "platform/text.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/store/pst_store.h"
#include "pstfile/store/store_layout.h"
#include "pstfile/store/store_state.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr PropTag kComputed[] = {tags::kContentCount, tags::kContentUnreadCount, tags::kSubfolders};

bool IsComputed(PropTag tag) { return std::ranges::find(kComputed, tag) != std::end(kComputed); }

Status NameTaken(std::u16string_view name) {
  return {StatusCode::kExists,
          "a folder named \"" + platform::Utf16ToUtf8(name) + "\" exists already"};
}

}  // namespace

NodeId PstStore::rootFolder() const { return kNidRootFolder; }

NodeId PstStore::ipmSubtree() const { return _state->ipmSubtree; }

bool PstStore::IsFolder(NodeId node) {
  return _state->Ready().ok() && _state->folders->Get(node).ok();
}

Result<NodeId> PstStore::ParentOf(NodeId node) {
  if (Status status = _state->Ready(); !status.ok()) return status;
  auto record = _state->Node(node);
  if (!record.ok()) return record.status();
  return record->parent;
}

Result<NodeId> PstStore::FindFolder(NodeId parent, std::u16string_view name) {
  State& s = *_state;
  if (Status status = s.Ready(); !status.ok()) return status;
  auto folder = s.folders->GetWithNames(parent);
  if (!folder.ok()) return s.End(Result<NodeId>(folder.status()));
  const auto found = (*folder)->names.find(platform::FoldCase(name));
  if (found == (*folder)->names.end()) {
    return Status(StatusCode::kNotFound, "no folder named \"" + platform::Utf16ToUtf8(name) + "\"");
  }
  return found->second;
}

Result<NodeId> PstStore::CreateFolder(NodeId parentId, std::u16string_view name,
                                      const PropertyList& properties) {
  State& s = *_state;
  const State::Change change(s);
  if (Status status = s.Begin(); !status.ok()) return status;
  if (parentId.Kind() != NodeKind::kFolder) {
    return Status(StatusCode::kNotFound, ToString(parentId) + " can hold no folders");
  }
  std::u16string clean(name);
  platform::ReplaceUnpairedSurrogates(clean);
  auto existing = FindFolder(parentId, clean);
  if (existing.ok()) return NameTaken(clean);
  if (existing.status().code() != StatusCode::kNotFound || !s.folders->Get(parentId).ok()) {
    return existing;
  }
  PropertyList all;
  for (std::size_t i = 0; i < properties.size(); ++i) {
    if (!IsComputed(properties.at(i).tag)) all.Set(properties.at(i));
  }
  all.SetText(tags::kDisplayName, clean);
  all.SetInt32(tags::kContentCount, 0);
  all.SetInt32(tags::kContentUnreadCount, 0);
  all.SetBool(tags::kSubfolders, false);
  for (const PropTag tag : {tags::kPstHiddenCount, tags::kPstHiddenUnread}) {
    if (!all.Find(tag)) all.SetInt32(tag, 0);
  }
  auto table = s.folders->Table(parentId, NodeKind::kHierarchyTable);
  if (!table.ok()) return s.End(Result<NodeId>(table.status()));
  if (Status status = (*table)->CheckRoom(); !status.ok()) return status;
  auto id = s.database->AllocateNodeId(NodeKind::kFolder);
  if (!id.ok()) return s.End(id);
  Status status = ReplaceProperties(*s.database, {*id, BlockId(), BlockId(), parentId}, all);
  // A map that cannot be read costs its columns and not the folder.
  auto names = s.Names();
  if (status.ok())
    status = s.folders->PutTables(*id, ContentsColumns(names.ok() ? *names : nullptr));
  if (status.ok()) status = s.folders->AddCreated(*id, parentId, clean, all);
  if (!status.ok()) {
    // Nothing of it stays, so that what is committed after a full disk is whole.
    for (const NodeKind kind : {NodeKind::kFolder, NodeKind::kHierarchyTable,
                                NodeKind::kContentsTable, NodeKind::kAssociatedContentsTable}) {
      (void)s.database->DeleteNode(id->Sibling(kind));
    }
    return s.End(Result<NodeId>(status));
  }
  ++s.statistics.foldersCreated;
  if (s.database->TransactionBytes() >= s.options.commitBytes) {
    if (Status committed = s.Commit(); !committed.ok()) return committed;
  }
  return id;
}

Result<std::vector<SubfolderEntry>> PstStore::Subfolders(NodeId folder) {
  auto table = OpenHierarchyTable(folder);
  if (!table.ok()) return table.status();
  std::vector<SubfolderEntry> entries;
  entries.reserve(std::min<std::uint64_t>(table->rows(), 4096));
  for (std::uint64_t row = 0; row < table->rows(); ++row) {
    if (Status status = table->SelectRow(row); !status.ok()) return status;
    auto name = table->Text(tags::kDisplayName);
    if (!name.ok() && name.status().code() != StatusCode::kNotFound) return name.status();
    entries.push_back({NodeId(table->RowId()), name.ok() ? std::move(*name) : std::u16string()});
  }
  return entries;
}

Result<FolderCounts> PstStore::CountsOf(NodeId folder) {
  if (Status status = _state->Ready(); !status.ok()) return status;
  auto known = _state->folders->Get(folder);
  if (!known.ok()) return known.status();
  return FolderCounts{(*known)->messages, (*known)->unread, (*known)->hasSubfolders};
}

Result<PropertyReader> PstStore::OpenFolderProperties(NodeId folder) {
  State& s = *_state;
  if (Status status = s.Ready(); !status.ok()) return status;
  if (auto known = s.folders->Get(folder); !known.ok()) return known.status();
  {
    const State::Change change(s);
    if (Status status = s.End(s.folders->FlushCounts(folder)); !status.ok()) return status;
  }
  auto node = s.Node(folder);
  if (!node.ok()) return node.status();
  return PropertyReader::Open(*s.database, {node->nid, node->data, node->sub});
}

Status PstStore::ChangeFolderProperties(NodeId id, const PropertyList& set,
                                        std::span<const std::uint16_t> removeIds) {
  State& s = *_state;
  const State::Change change(s);
  if (Status status = s.Begin(); !status.ok()) return status;
  if (auto known = s.folders->Get(id); !known.ok()) return known.status();
  if (Status status = s.End(s.folders->FlushCounts(id)); !status.ok()) return status;
  auto node = s.Node(id);
  if (!node.ok()) return node.status();
  auto properties = CopyProperties(*s.database, *node);
  if (!properties.ok()) return properties.status();
  const std::u16string oldName = properties->Text(tags::kDisplayName).value_or(u"");
  // The top folder is its own parent and stands in nobody's table.
  const bool hasRow = node->parent != id;
  if (const auto newName = set.Text(tags::kDisplayName); newName && hasRow) {
    auto sibling = FindFolder(node->parent, *newName);
    if (sibling.ok() && *sibling != id) return NameTaken(*newName);
  }
  PropertyList changed;
  for (std::size_t i = 0; i < set.size(); ++i) {
    if (IsComputed(set.at(i).tag)) continue;
    properties->Set(set.at(i));
    changed.Set(set.at(i));
  }
  for (const std::uint16_t removed : removeIds) {
    const bool keep = removed == tags::kDisplayName.Id() ||
                      std::ranges::any_of(kComputed, [&](PropTag t) { return t.Id() == removed; });
    if (!keep) properties->Remove(removed);
  }
  const std::u16string newName = properties->Text(tags::kDisplayName).value_or(u"");
  if (Status status = ReplaceProperties(*s.database, *node, *properties); !status.ok()) {
    return s.End(status);
  }
  if (!hasRow) return {};
  auto table = s.folders->Table(node->parent, NodeKind::kHierarchyTable);
  if (!table.ok()) return s.End(table.status());
  // Cells that the object itself does not have stay, unless something is to go.
  const bool keepOthers = removeIds.empty();
  Status status = (*table)->UpdateRow(id.value, s.database->Unique(),
                                      keepOthers ? changed : *properties, keepOthers);
  if (!status.ok()) return s.EndChange(status);
  s.folders->Renamed(id, node->parent, oldName, newName);
  return {};
}

Result<TableReader> PstStore::OpenHierarchyTable(NodeId folder) {
  return _state->OpenFolderTable(folder, NodeKind::kHierarchyTable);
}
Result<TableReader> PstStore::OpenContentsTable(NodeId folder) {
  return _state->OpenFolderTable(folder, NodeKind::kContentsTable);
}
Result<TableReader> PstStore::OpenAssociatedTable(NodeId folder) {
  return _state->OpenFolderTable(folder, NodeKind::kAssociatedContentsTable);
}

}  // namespace parvane::pstfile
