#include "pstfile/check/store_check.h"

#include <algorithm>
#include <array>
#include <string>

#include "pstfile/check/property_check.h"
#include "pstfile/check/table_check.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

constexpr PropTag kReceiveFolderNode{0x66050003};
constexpr std::size_t kEntryIdSize = fields::kSizeOf<fields::EntryId>;

void CheckEntryId(Context& context, PropertyContext& store, PropTag tag) {
  const auto id = store.Bytes(tag, 256);
  // An empty one says that there is no such folder.
  if (!id || id->empty()) return;
  const auto fault = [&](const std::string& what) {
    store.heap().Fault(codes::kEntryId, Say("property ", ToString(tag), ": ", what));
  };
  if (id->size() != kEntryIdSize) {
    fault(Say("an entry id of ", id->size(), " bytes, expected ", kEntryIdSize));
    return;
  }
  if (const auto flags = LoadField(*id, fields::EntryId::kFlags); flags != 0) {
    fault(Say("its flags are ", Hex{flags}, ", expected 0"));
  }
  if (context.recordKey && !std::equal(context.recordKey->begin(), context.recordKey->end(),
                                       id->begin() + fields::EntryId::kStore.offset)) {
    fault("it names another store: its key is not the record key");
  }
  const NodeId nid(LoadField<std::uint32_t>(*id, fields::EntryId::kNode));
  if ((nid.Kind() != NodeKind::kFolder && nid.Kind() != NodeKind::kSearchFolder) ||
      !context.image.FindNode(nid)) {
    fault(Say("it names node ", nid, ", which is no folder of this store"));
  }
}

void CheckReceiveFolders(Context& context, const NodeRecord& node) {
  auto table = Table::Open(context, {node.data, node.sub}, "receive folder table");
  if (!table) return;
  table->ForEachRow([&](std::span<const std::byte> row) {
    const auto folder = table->Number(row, kReceiveFolderNode);
    if (folder && !context.image.FindNode(NodeId(static_cast<std::uint32_t>(*folder)))) {
      table->heap().Fault(codes::kReceiveFolder,
                          Say("row ", Hex{Table::RowId(row)}, " names folder ", Hex{*folder},
                              ", which does not exist"));
    }
  });
  table->Finish();
}

// What Outlook's search folders have still to look at; folders that have gone are left in it at
// times. Arrays of folder numbers, and of records whose content is not examined.
void CheckSearchList(Context& context, const NodeRecord& node) {
  auto data = DataView::Open(context.image, node.data);
  if (!data) return;  // told by the count of references
  const std::size_t unit = node.nid == kNidSearchManagementQueue ? 20 : 4;
  const auto fault = [&](const std::string& what) {
    context.reporter.Habit(codes::kSearchList, Say("node ", node.nid, ": ", what));
  };
  if (data->size() % unit != 0) {
    fault(Say(data->size(), " bytes are no whole number of records of ", unit));
    return;
  }
  if (unit != 4) return;
  std::array<std::byte, 4> record{};
  for (std::uint64_t at = 0; at < data->size() && data->ReadAt(at, record) == 4; at += 4) {
    const NodeId nid(LoadU32(record));
    if (!context.image.FindNode(nid) && !context.image.FindNode(nid.Sibling(NodeKind::kFolder)) &&
        !context.image.FindNode(nid.Sibling(NodeKind::kSearchFolder))) {
      fault(Say("lists ", nid, ", which is no folder"));
    }
  }
}

bool IsTemplate(NodeId nid) {
  static constexpr NodeId kTemplates[] = {
      kNidHierarchyTableTemplate,
      kNidContentsTableTemplate,
      kNidAssociatedContentsTableTemplate,
      kNidSearchContentsTableTemplate,
      kNidOutgoingQueueTable,
      kNidAttachmentTable,
      kNidRecipientTable,
      kNidChangeHistoryTableTemplate,
      kNidTombstoneTableTemplate,
      kNidTombstoneDateTableTemplate,
  };
  return std::find(std::begin(kTemplates), std::end(kTemplates), nid) != std::end(kTemplates);
}

// Nodes that folders, messages and the store object account for: each is looked at once, where its
// owner can say what it must be like.
bool BelongsToAnother(NodeId nid) {
  switch (nid.Kind()) {
    case NodeKind::kFolder:
    case NodeKind::kSearchFolder:
    case NodeKind::kMessage:
    case NodeKind::kAssociatedMessage:
    case NodeKind::kSearchCriteria:
    case NodeKind::kHierarchyTable:
    case NodeKind::kContentsTable:
    case NodeKind::kAssociatedContentsTable:
    case NodeKind::kSearchContentsTable:
      return true;
    default:
      return nid == kNidMessageStore || nid == kNidNameToIdMap;
  }
}

}  // namespace

void CheckStoreObject(Context& context) {
  const auto node = context.image.FindNode(kNidMessageStore);
  if (!node) return;
  auto store = PropertyContext::Open(context, {node->data, node->sub}, "message store");
  if (!store) return;
  const auto key = store->Bytes(tags::kRecordKey, 64);
  if (!key || key->size() != 16) {
    store->heap().Fault(codes::kStoreProperty, "its record key is not 16 bytes");
  } else {
    context.recordKey = key;
  }
  for (const PropTag tag : {tags::kDisplayName, tags::kIpmSubtreeEntryId,
                            tags::kIpmWastebasketEntryId, tags::kFinderEntryId}) {
    if (!store->Has(tag.Id())) {
      store->heap().Fault(codes::kStoreProperty, Say("property ", ToString(tag), " is missing"));
    }
  }
  if (!store->Has(tags::kPstPassword.Id())) {
    store->heap().Habit(codes::kStoreProperty,
                        Say("property ", ToString(tags::kPstPassword), " is missing"));
  }
  if (store->Number(tags::kPstPassword).value_or(0) != 0) {
    context.reporter.Report(Severity::kNote, codes::kStoreProperty,
                            "message store: it has a password, which protects nothing");
  }
  for (const std::uint32_t tag : {0x34160102U, 0x35E00102U, 0x35E20102U, 0x35E30102U, 0x35E40102U,
                                  0x35E50102U, 0x35E60102U, 0x35E70102U}) {
    CheckEntryId(context, *store, PropTag(tag));
  }
  store->Finish();
}

void CheckOtherNode(Context& context, const NodeRecord& node) {
  if (!node.data) return;
  const std::string where = Say("node ", node.nid);
  if (IsTemplate(node.nid)) {
    CheckTable(context, {node.data, node.sub}, where);
  } else if (node.nid == kNidReceiveFolderTable) {
    CheckReceiveFolders(context, node);
  } else if (node.nid == kNidSearchActivityList || node.nid == kNidSearchDomainObject ||
             node.nid == kNidSearchManagementQueue) {
    CheckSearchList(context, node);
  } else if (!BelongsToAnother(node.nid) && node.nid.Kind() != NodeKind::kValue) {
    auto data = DataView::Open(context.image, node.data);
    const auto first = data ? data->ReadBlock(0) : std::nullopt;
    if (first && BeginsHeap(first->bytes())) {
      NodeHeap::Open(context, {node.data, node.sub}, where, std::nullopt);
    }
  }
}

}  // namespace parvane::pstfile::check
