#include "pstfile/store/store_creation.h"

#include <algorithm>
#include <span>
#include <vector>

#include "platform/system.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ltp/table_editor.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/store/name_map.h"
#include "pstfile/store/store_layout.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;

namespace {

constexpr PropTag kPstLrNoRestrictions{0x6633000B};
constexpr PropTag kStoreVersion{0x66FA0003};
constexpr std::int32_t kStoreVersionValue = 0x000E0011;
constexpr PropTag kReceiveFolderNid{0x66050003};
constexpr PropTag kSearchFlags{0x660B0003};
// Subtree, wastebasket and finder are valid.
constexpr std::int32_t kValidFolders = 0x89;
constexpr NodeId kNidSpamQueue = kNidSpamSearchFolder.Sibling(NodeKind::kSearchUpdateQueue);
constexpr NodeId kNidSpamCriteria = kNidSpamSearchFolder.Sibling(NodeKind::kSearchCriteria);
constexpr NodeId kNidSpamContents = kNidSpamSearchFolder.Sibling(NodeKind::kSearchContentsTable);

// Node C01: a heap of an internal kind with an empty BTH, the same in every store.
constexpr std::uint8_t kInternalC01[] = {0x18, 0, 0xEC, 0x9C, 0x20, 0,    0,    0, 0,    0, 0, 0,
                                         0x40, 0, 0,    0,    0xB5, 0x10, 4,    0, 0,    0, 0, 0,
                                         2,    0, 0,    0,    0x0C, 0,    0x10, 0, 0x18, 0};
static_assert(sizeof kInternalC01 == 34);

struct FolderPlan {
  NodeId node;
  NodeId parent;
  const char16_t* name;
  const char16_t* comment;
  bool hasSubfolders;
};
constexpr FolderPlan kFolders[] = {
    {kNidRootFolder, kNidRootFolder, u"", nullptr, true},
    {kNidIpmSubtree, kNidRootFolder, u"Top of Outlook data file", nullptr, true},
    {kNidSearchRoot, kNidRootFolder, u"Search Root", nullptr, false},
    {kNidSpamSearchFolder, kNidRootFolder, u"SPAM Search Folder 2", nullptr, false},
    {kNidDeletedItems, kNidIpmSubtree, u"Deleted Items", u"Deleted Items folder", false},
};

PropertyList FolderProperties(const FolderPlan& plan) {
  PropertyList properties;
  properties.SetText(tags::kDisplayName, plan.name);
  if (plan.comment != nullptr) properties.SetText(tags::kComment, plan.comment);
  properties.SetInt32(tags::kContentCount, 0);
  properties.SetInt32(tags::kContentUnreadCount, 0);
  properties.SetBool(tags::kSubfolders, plan.hasSubfolders);
  return properties;
}

class Populator {
 public:
  explicit Populator(NodeDatabase& database) : _database(database) {}
  const Status& status() const { return _status; }

  void PutProperties(NodeId node, NodeId parent, PropertyList properties) {
    if (!_status.ok()) return;
    auto written = WritePropertyContext(_database, properties);
    if (!written.ok()) {
      _status = written.status();
      return;
    }
    Put({node, written->data, written->subnodes, parent});
  }

  // A table with these columns and rows, by row id.
  void PutTable(NodeId node, std::span<const PropTag> columns,
                std::span<const std::pair<std::uint32_t, PropertyList>> rows) {
    if (!_status.ok()) return;
    auto table = TableEditor::Create(_database, TableLayout::FromTags(columns));
    if (!table.ok()) {
      _status = table.status();
      return;
    }
    for (const auto& [id, cells] : rows) {
      _status = (*table)->AppendRow(id, _database.Unique(), cells);
      if (!_status.ok()) return;
    }
    auto roots = (*table)->Flush();
    if (!roots.ok()) {
      _status = roots.status();
      return;
    }
    Put({node, roots->data, roots->subnodes, NodeId()});
  }

  void PutBytes(NodeId node, std::span<const std::byte> bytes) {
    if (!_status.ok()) return;
    auto block = _database.WriteBlock(bytes);
    if (!block.ok()) {
      _status = block.status();
      return;
    }
    Put({node, *block, BlockId(), NodeId()});
  }

  // Shares the blocks of a node that is there already.
  void PutCopy(NodeId node, NodeId source) {
    if (!_status.ok()) return;
    auto record = _database.FindNode(source);
    if (!record.ok()) {
      _status = record.status();
      return;
    }
    Put({node, (*record)->data, (*record)->sub, NodeId()});
  }

  void Put(const NodeRecord& record) {
    if (_status.ok()) _status = _database.PutNode(record);
  }

  // The folder's hierarchy table lists those of kFolders that name it as their parent.
  void PutFolder(const FolderPlan& plan, std::span<const PropTag> contents) {
    PutProperties(plan.node, plan.parent, FolderProperties(plan));
    if (plan.node.Kind() == NodeKind::kSearchFolder) return;
    std::vector<std::pair<std::uint32_t, PropertyList>> rows;
    for (const FolderPlan& child : kFolders) {
      if (child.parent == plan.node && child.node != plan.node) {
        rows.emplace_back(child.node.value, FolderProperties(child));
      }
    }
    const NodeId hierarchy = plan.node.Sibling(NodeKind::kHierarchyTable);
    if (rows.empty()) {
      PutCopy(hierarchy, kNidHierarchyTableTemplate);
    } else {
      PutTable(hierarchy, TemplateColumns(kNidHierarchyTableTemplate), rows);
    }
    PutTable(plan.node.Sibling(NodeKind::kContentsTable), contents, {});
    PutCopy(plan.node.Sibling(NodeKind::kAssociatedContentsTable),
            kNidAssociatedContentsTableTemplate);
    if (_status.ok() && plan.node != kNidRootFolder) _status = _database.ReserveNodeId(plan.node);
  }

 private:
  NodeDatabase& _database;
  Status _status;
};

PropertyList StoreProperties(const StoreCreateOptions& options,
                             const std::array<std::byte, 16>& recordKey) {
  PropertyList properties;
  std::vector<std::byte> history(24);
  history[0] = std::byte{1};
  platform::FillRandom(std::span(history).subspan(4, 16));
  history[20] = std::byte{1};
  properties.SetBytes(tags::kReplVersionHistory, history);
  properties.SetInt32(tags::kReplFlags, 0);
  properties.SetBytes(tags::kRecordKey, recordKey);
  properties.SetText(tags::kDisplayName, options.displayName);
  properties.SetInt32(tags::kValidFolderMask, kValidFolders);
  properties.SetBytes(tags::kIpmSubtreeEntryId, MakeEntryId(recordKey, kNidIpmSubtree));
  properties.SetBytes(tags::kIpmWastebasketEntryId, MakeEntryId(recordKey, kNidDeletedItems));
  properties.SetBytes(tags::kFinderEntryId, MakeEntryId(recordKey, kNidSearchRoot));
  properties.SetBool(kPstLrNoRestrictions, true);
  properties.SetInt32(kStoreVersion, kStoreVersionValue);
  properties.SetInt32(tags::kPstPassword, 0);
  return properties;
}

}  // namespace

std::array<std::byte, 24> MakeEntryId(const std::array<std::byte, 16>& recordKey, NodeId node) {
  std::array<std::byte, 24> id{};
  std::copy(recordKey.begin(), recordKey.end(), id.begin() + fields::EntryId::kStore.offset);
  StoreField(id, fields::EntryId::kNode, node.value);
  return id;
}

Status PopulateStore(NodeDatabase& database, const StoreCreateOptions& options,
                     const std::array<std::byte, 16>& recordKey) {
  Populator populate(database);
  populate.PutProperties(kNidMessageStore, NodeId(), StoreProperties(options, recordKey));
  if (!populate.status().ok()) return populate.status();
  NameMap names = NameMap::Initial();
  const std::vector<PropTag> contents = ContentsColumns(&names);
  if (Status status = names.Write(database); !status.ok()) return status;
  for (const TemplateTable& table : TemplateTables()) {
    if (table.node != kNidReceiveFolderTable) populate.PutTable(table.node, table.columns, {});
  }
  // One row: every message class is received in the root folder until there is an inbox.
  std::pair<std::uint32_t, PropertyList> allClasses{1, {}};
  allClasses.second.SetText(tags::kMessageClass, u"");
  allClasses.second.SetInt32(kReceiveFolderNid, kNidRootFolder.value);
  populate.PutTable(kNidReceiveFolderTable, TemplateColumns(kNidReceiveFolderTable),
                    {&allClasses, 1});
  for (const FolderPlan& plan : kFolders) populate.PutFolder(plan, contents);

  populate.Put({kNidSpamQueue, BlockId(), BlockId(), NodeId()});
  PropertyList criteria;
  criteria.SetInt32(kSearchFlags, 0);
  populate.PutProperties(kNidSpamCriteria, NodeId(), std::move(criteria));
  populate.PutCopy(kNidSpamContents, kNidSearchContentsTableTemplate);

  populate.Put({kNidSearchManagementQueue, BlockId(), BlockId(), NodeId()});
  std::array<std::byte, 4> activity{};
  StoreU32(activity, 0, kNidSpamSearchFolder.value);
  populate.PutBytes(kNidSearchActivityList, activity);
  populate.Put({kNidSearchDomainObject, BlockId(), BlockId(), NodeId()});
  populate.PutBytes(kNidInternalC01, std::as_bytes(std::span(kInternalC01)));
  return populate.status();
}

}  // namespace parvane::pstfile
