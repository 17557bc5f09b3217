#include "pstfile/store/folder_set.h"

#include <algorithm>

#include "platform/text.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ltp/property_reader.h"
#include "pstfile/ltp/table_reader.h"
#include "pstfile/store/store_layout.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::size_t kMaxNames = 200'000;  // of subfolders, in all indexes together
constexpr std::size_t kMaxIdle = 4096;      // folders known but not in use
// A folder's properties, and the block of its row in the parent's table.
constexpr std::size_t kBytesPerCounts = 12u << 10;
constexpr NodeKind kTableKinds[] = {NodeKind::kHierarchyTable, NodeKind::kContentsTable,
                                    NodeKind::kAssociatedContentsTable};

Status NoFolder(NodeId node) { return {StatusCode::kNotFound, "no folder " + ToString(node)}; }

}  // namespace

Result<PropertyList> CopyProperties(NodeDatabase& database, const NodeRecord& node) {
  auto reader = PropertyReader::Open(database, {node.nid, node.data, node.sub});
  if (!reader.ok()) return reader.status();
  PropertyList properties;
  std::vector<PropTag> large;
  if (Status status = reader->ReadAll(properties, &large); !status.ok()) return status;
  for (const PropTag tag : large) {
    auto value = reader->OpenValue(tag);
    if (!value.ok()) return value.status();
    properties.SetStored(tag, value->stored());
  }
  return properties;
}

Status ReplaceProperties(NodeDatabase& database, const NodeRecord& node, PropertyList& properties) {
  auto written = WritePropertyContext(database, properties);
  if (!written.ok()) return written.status();
  Status status = database.PutNode({node.nid, written->data, written->subnodes, node.parent});
  if (!status.ok()) {
    database.AbandonBlock(written->data);
    database.AbandonBlock(written->subnodes);
  }
  return status;
}

std::size_t FolderSet::Slot(NodeKind kind) {
  return static_cast<std::size_t>(std::ranges::find(kTableKinds, kind) - kTableKinds);
}

Status FolderSet::ReadCounts(Folder& folder, const NodeRecord& node) {
  auto reader = PropertyReader::Open(*_database, {node.nid, node.data, node.sub});
  if (!reader.ok()) return reader.status();
  const auto number = [&](PropTag tag) {
    auto value = reader->Scalar(tag);
    return value.ok() ? static_cast<std::uint32_t>(*value) : 0;
  };
  folder.messages = number(tags::kContentCount);
  folder.unread = number(tags::kContentUnreadCount);
  folder.hasSubfolders = number(tags::kSubfolders) != 0;
  return {};
}

Result<FolderSet::Folder*> FolderSet::Get(NodeId id) {
  if (const auto found = _folders.find(id); found != _folders.end()) {
    found->second.lastUse = ++_clock;
    return &found->second;
  }
  if (id.Kind() != NodeKind::kFolder && id.Kind() != NodeKind::kSearchFolder) {
    return NoFolder(id);
  }
  auto node = _database->FindNode(id);
  if (!node.ok()) return node.status();
  if (!node->has_value()) return NoFolder(id);
  DropIdle();
  Folder folder;
  folder.node = id;
  folder.parent = (*node)->parent;
  folder.lastUse = ++_clock;
  if (Status status = ReadCounts(folder, **node); !status.ok()) return status;
  return &_folders.emplace(id, std::move(folder)).first->second;
}

Result<FolderSet::Folder*> FolderSet::GetWithNames(NodeId id) {
  auto folder = Get(id);
  if (!folder.ok() || (*folder)->namesKnown) return folder;
  if (Status status = FlushTable(id, NodeKind::kHierarchyTable); !status.ok()) return status;
  // From here on `folder` may be gone: flushing looks at other folders, and those not in use are
  // dropped for them.
  auto node = _database->FindNode(id.Sibling(NodeKind::kHierarchyTable));
  if (!node.ok()) return node.status();
  std::unordered_map<std::u16string, NodeId> names;
  if (node->has_value() && (*node)->data) {
    auto table = TableReader::Open(*_database, {(*node)->nid, (*node)->data, (*node)->sub});
    if (!table.ok()) return table.status();
    for (std::uint64_t row = 0; row < table->rows(); ++row) {
      if (Status status = table->SelectRow(row); !status.ok()) return status;
      auto name = table->Text(tags::kDisplayName);
      if (name.ok()) names.emplace(platform::FoldCase(*name), NodeId(table->RowId()));
    }
  }
  DropNames();
  folder = Get(id);
  if (!folder.ok()) return folder;
  (*folder)->names = std::move(names);
  (*folder)->namesKnown = true;
  _namesHeld += (*folder)->names.size() + 1;
  return folder;
}

void FolderSet::DropNames() {
  if (_namesHeld < kMaxNames) return;
  for (auto& [id, folder] : _folders) {
    folder.names.clear();
    folder.namesKnown = false;
  }
  _namesHeld = 0;
}

void FolderSet::DropIdle() {
  if (_folders.size() < std::max(kMaxIdle, _dropIdleAt)) return;
  for (auto at = _folders.begin(); at != _folders.end();) {
    const Folder& folder = at->second;
    const bool inUse = folder.changed || folder.tables[0] || folder.tables[1] || folder.tables[2] ||
                       folder.namesKnown;
    at = inUse ? std::next(at) : _folders.erase(at);
  }
  // Looked at again when there are twice as many: each new folder pays for one that is in use.
  _dropIdleAt = 2 * _folders.size();
}

Result<std::unique_ptr<TableEditor>> FolderSet::OpenTable(NodeId table) {
  auto node = _database->FindNode(table);
  if (!node.ok()) return node.status();
  if (node->has_value() && (*node)->data) {
    auto editor = TableEditor::Open(*_database, (*node)->data, (*node)->sub);
    if (!editor.ok()) return editor.status().WithContext("table " + ToString(table));
    return editor;
  }
  return TableEditor::Create(*_database,
                             TableLayout::FromTags(TemplateColumns(TemplateOf(table.Kind()))));
}

Result<TableEditor*> FolderSet::Table(NodeId id, NodeKind kind) {
  auto folder = Get(id);
  if (!folder.ok()) return folder.status();
  if (id.Kind() != NodeKind::kFolder) {
    return Status(StatusCode::kUnsupported, "folder " + ToString(id) + " is a search folder");
  }
  const std::size_t slot = Slot(kind);
  if ((*folder)->tables[slot]) return (*folder)->tables[slot].get();
  if (Status status = MakeRoomForTable(); !status.ok()) return status;
  auto editor = OpenTable(id.Sibling(kind));
  if (!editor.ok()) return editor.status();
  folder = Get(id);
  if (!folder.ok()) return folder.status();
  // The rows are the truth where another program left a count behind.
  if (kind == NodeKind::kContentsTable && (*folder)->messages != (*editor)->rows()) {
    (*folder)->messages = static_cast<std::uint32_t>((*editor)->rows());
  }
  (*editor)->LimitHeap(_tablePages);
  _open.push_back({*folder, editor->get()});
  (*folder)->tables[slot] = std::move(*editor);
  return (*folder)->tables[slot].get();
}

Status FolderSet::MakeRoomForTable() {
  if (_open.size() < _maxTables) return {};
  Folder* oldest = std::ranges::min_element(_open, {}, [](const OpenedTable& open) {
                     return open.folder->lastUse;
                   })->folder;
  for (std::size_t slot = 0; slot < 3; ++slot) {
    if (!oldest->tables[slot]) continue;
    const NodeId table = oldest->node.Sibling(kTableKinds[slot]);
    if (Status status = FlushEditor(table, *oldest->tables[slot]); !status.ok()) return status;
    std::erase_if(
        _open, [&](const OpenedTable& open) { return open.table == oldest->tables[slot].get(); });
    oldest->tables[slot].reset();
  }
  return {};
}

Status FolderSet::FlushEditor(NodeId table, TableEditor& editor) {
  if (!editor.changed()) return {};
  auto roots = editor.Flush();
  if (!roots.ok()) return roots.status();
  return _database->PutNode({table, roots->data, roots->subnodes, NodeId()});
}

Status FolderSet::FlushTable(NodeId id, NodeKind kind) {
  if (kind == NodeKind::kHierarchyTable) {
    std::vector<NodeId> children;
    for (auto at = _changed.lower_bound({id, NodeId()}); at != _changed.end() && at->first == id;
         ++at) {
      children.push_back(at->second);
    }
    for (const NodeId child : children) {
      if (Status status = FlushCounts(child); !status.ok()) return status;
    }
  }
  const auto found = _folders.find(id);
  if (found == _folders.end() || !found->second.tables[Slot(kind)]) return {};
  return FlushEditor(id.Sibling(kind), *found->second.tables[Slot(kind)]);
}

Status FolderSet::FlushCounts(NodeId id) {
  const auto found = _folders.find(id);
  if (found == _folders.end() || !found->second.changed) return {};
  Folder& folder = found->second;
  PropertyList counts;
  counts.SetInt32(tags::kContentCount, static_cast<std::int32_t>(folder.messages));
  counts.SetInt32(tags::kContentUnreadCount, static_cast<std::int32_t>(folder.unread));
  counts.SetBool(tags::kSubfolders, folder.hasSubfolders);
  const NodeId parent = folder.parent;

  auto node = _database->FindNode(id);
  if (!node.ok()) return node.status();
  if (!node->has_value()) return NoFolder(id);
  auto properties = CopyProperties(*_database, **node);
  if (!properties.ok()) return properties.status();
  for (std::size_t i = 0; i < counts.size(); ++i) {
    properties->SetScalar(counts.at(i).tag, counts.at(i).scalar);
  }
  if (Status status = ReplaceProperties(*_database, **node, *properties); !status.ok()) {
    return status;
  }
  // The root folder is its own parent and has no row.
  if (parent != id) {
    auto table = Table(parent, NodeKind::kHierarchyTable);
    if (!table.ok()) return table.status();
    Status status = (*table)->UpdateRow(id.value, _database->Unique(), counts, true);
    // Other programs leave folders without a row; the counts of the folder itself are what is read.
    if (!status.ok() && status.code() != StatusCode::kNotFound) return status;
  }
  // Still there: a folder that has changed is in use.
  _folders.at(id).changed = false;
  _changed.erase({parent, id});
  return {};
}

Status FolderSet::Flush() {
  // Counts first: they change rows of the parents' tables.
  const std::vector<std::pair<NodeId, NodeId>> changed(_changed.begin(), _changed.end());
  for (const auto& [parent, id] : changed) {
    if (Status status = FlushCounts(id); !status.ok()) return status;
  }
  for (auto& [id, folder] : _folders) {
    for (std::size_t slot = 0; slot < 3; ++slot) {
      if (!folder.tables[slot]) continue;
      Status status = FlushEditor(id.Sibling(kTableKinds[slot]), *folder.tables[slot]);
      if (!status.ok()) return status;
    }
  }
  return {};
}

void FolderSet::CountsChanged(Folder& folder) {
  if (folder.changed) return;
  folder.changed = true;
  _changed.emplace(folder.parent, folder.node);
}

// A node with an empty table and whatever blocks it may share. An empty template of the file itself
// serves, so that new folders look like the others, but for contents: those get all the columns
// that views need.
Result<NodeRecord> FolderSet::EmptyTable(NodeKind kind, std::span<const PropTag> contents) {
  std::optional<NodeRecord>& known = _templates[Slot(kind)];
  if (!known && kind != NodeKind::kContentsTable) {
    auto node = _database->FindNode(TemplateOf(kind));
    if (!node.ok()) return node.status();
    if (node->has_value()) {
      auto table = TableReader::Open(*_database, {(*node)->nid, (*node)->data, (*node)->sub});
      if (table.ok() && table->rows() == 0 && !(*node)->sub) known = **node;
    }
  }
  if (known) {
    // An error: our own copy lost its last user, and is gone.
    auto share = _database->CanShare(known->data);
    if (share.ok() && *share) return *known;
  }
  const auto columns =
      kind == NodeKind::kContentsTable ? contents : TemplateColumns(TemplateOf(kind));
  auto table = TableEditor::Create(*_database, TableLayout::FromTags(columns));
  if (!table.ok()) return table.status();
  auto roots = (*table)->Flush();
  if (!roots.ok()) return roots.status();
  known = NodeRecord{TemplateOf(kind), roots->data, roots->subnodes, NodeId()};
  return *known;
}

Status FolderSet::PutTables(NodeId folder, std::span<const PropTag> contents) {
  for (const NodeKind kind : kTableKinds) {
    auto source = EmptyTable(kind, contents);
    if (!source.ok()) return source.status();
    Status status = _database->PutNode({folder.Sibling(kind), source->data, source->sub, NodeId()});
    if (!status.ok()) return status;
  }
  return {};
}

Status FolderSet::AddCreated(NodeId id, NodeId parentId, std::u16string_view name,
                             const PropertyList& properties) {
  auto table = Table(parentId, NodeKind::kHierarchyTable);
  if (!table.ok()) return table.status();
  Status status = (*table)->AppendRow(id.value, _database->Unique(), properties);
  if (!status.ok()) return status;
  auto parent = Get(parentId);
  if (!parent.ok()) return parent.status();
  if (!(*parent)->hasSubfolders) {
    (*parent)->hasSubfolders = true;
    CountsChanged(**parent);
  }
  if ((*parent)->namesKnown) {
    (*parent)->names.emplace(platform::FoldCase(name), id);
    ++_namesHeld;
  }
  return {};
}

void FolderSet::Renamed(NodeId id, NodeId parentId, std::u16string_view from,
                        std::u16string_view to) {
  const auto parent = _folders.find(parentId);
  if (parent == _folders.end() || !parent->second.namesKnown) return;
  auto& names = parent->second.names;
  if (const auto old = names.find(platform::FoldCase(from));
      old != names.end() && old->second == id) {
    names.erase(old);
  }
  names.emplace(platform::FoldCase(to), id);
}

std::uint64_t FolderSet::PendingBytes() const {
  std::uint64_t bytes = _changed.size() * kBytesPerCounts;
  for (const OpenedTable& open : _open) {
    bytes += open.table->changed() ? open.table->PendingBytes() : 0;
  }
  return bytes;
}

}  // namespace parvane::pstfile
