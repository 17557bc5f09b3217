#include "pstfile/store/message_builder.h"

#include <algorithm>

#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ltp/table_builder.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/subnode_tree.h"
#include "pstfile/store/message_reader.h"
#include "pstfile/store/store_layout.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::uint64_t kMaxSize = 0x7FFFFFFF;  // sizes are signed 32-bit properties
constexpr std::uint64_t kHasAttachFlag = 0x10;
constexpr PropTag kHasAttachments{0x0E1B000B};
constexpr std::int32_t kEmbeddedMethod = 5;
constexpr int kMaxDepth = 2 * kMaxEmbeddingDepth + 8;  // attachment and message by turns
constexpr std::size_t kMaxObjects = 4'000'000;

// The columns with which Outlook widens an attachment table, in its order.
constexpr std::uint32_t kAttachmentColumns[] = {
    0x37140003, 0x370A0102, 0x370D001F, 0x3708001F, 0x3707001F, 0x3703001F, 0x3001001F,
    0x370F0102, 0x3711001F, 0x3713001F, 0x3712001F, 0x370E001F, 0x69090003, 0x7FFD0003,
    0x7FFB0040, 0x7FFC0040, 0x7FFA0003, 0x7FFE000B, 0x7FFF000B};

Status TooBig(const char* what, std::uint64_t size) {
  return {StatusCode::kTooBig, std::string(what) + " of " + std::to_string(size) +
                                   " bytes; a PST holds less than 2 GiB"};
}

// A recipient has no other home than its row: every property becomes a column.
Result<const TableLayout*> RecipientLayout(const RowSource& rows, MessageLayouts& layouts) {
  // Recipients mostly have the same properties, in this message and from message to message.
  bool allUsual = rows.RowCount() > 0 && !layouts.usualRecipient.empty();
  for (std::size_t i = 0; allUsual && i < rows.RowCount(); ++i) {
    auto row = rows.Row(i);
    if (!row.ok()) return row.status();
    allUsual =
        std::ranges::equal((*row)->items(), layouts.usualRecipient, {}, &PropertyList::Item::tag);
  }
  if (allUsual) return &layouts.usualRecipients;

  const auto base = TemplateColumns(kNidRecipientTable);
  std::vector<PropTag>& columns = layouts.columns;
  columns.assign(base.begin(), base.end());
  for (std::size_t i = 0; i < rows.RowCount(); ++i) {
    auto row = rows.Row(i);
    if (!row.ok()) return row.status();
    for (const PropertyList::Item& item : (*row)->items()) {
      const PropTag tag = item.tag;
      if (!IsStorable(tag.Type()) || tag.Type() == PropType::kObject) {
        return Status(StatusCode::kInvalidArgument,
                      "recipient property " + ToString(tag) + " cannot be stored");
      }
      const auto hasId = [tag](PropTag column) { return column.Id() == tag.Id(); };
      if (hasId(tags::kLtpRowId) || hasId(tags::kLtpRowVersion) ||
          std::ranges::any_of(columns, hasId)) {
        continue;
      }
      // This one, and the two that every table has.
      if (columns.size() + 3 > kMaxTableColumns) {
        return Status(StatusCode::kTooBig, "recipients with more than 253 different properties");
      }
      columns.push_back(tag);
    }
  }
  std::ranges::sort(columns.begin() + static_cast<std::ptrdiff_t>(base.size()), columns.end());
  const TableLayout& layout = layouts.recipients.For(columns);
  if (rows.RowCount() == 1) {
    auto row = rows.Row(0);
    if (!row.ok()) return row.status();
    layouts.usualRecipient.clear();
    for (const PropertyList::Item& item : (*row)->items()) {
      layouts.usualRecipient.push_back(item.tag);
    }
    layouts.usualRecipients = layout;
  }
  return &layout;
}

Result<WrittenTable> WriteRecipients(NodeDatabase& database, const RowSource& rows,
                                     MessageLayouts& layouts) {
  auto layout = RecipientLayout(rows, layouts);
  if (!layout.ok()) return layout.status();
  return WriteTable(database, **layout, rows, database.Unique());
}

// The rows of attachments, out of where they were kept.
class AttachmentRows final : public RowSource {
 public:
  AttachmentRows(const NodeDatabase& database, std::span<const StoredAttachment> attachments,
                 PackedRows& rows)
      : _database(database), _attachments(attachments), _rows(rows) {}
  std::size_t RowCount() const override { return _attachments.size(); }
  std::uint32_t RowKey(std::size_t index) const override { return _attachments[index].node.value; }
  Result<const PropertyList*> Row(std::size_t index) const override {
    if (index != _read) {
      Status status = _rows.Read(_database, _attachments[index].row, _row);
      if (!status.ok()) return status;
      _read = index;
    }
    return &_row;
  }

 private:
  const NodeDatabase& _database;
  std::span<const StoredAttachment> _attachments;
  PackedRows& _rows;
  mutable PropertyList _row;
  mutable std::size_t _read = ~std::size_t{0};
};

Result<WrittenTable> WriteAttachmentTable(NodeDatabase& database,
                                          std::span<const StoredAttachment> attachments,
                                          PackedRows& rows, MessageLayouts& layouts) {
  const auto base = TemplateColumns(kNidAttachmentTable);
  std::vector<PropTag>& columns = layouts.columns;
  columns.assign(base.begin(), base.end());
  std::uint32_t present = 0;
  for (const StoredAttachment& attachment : attachments) present |= attachment.columns;
  for (std::size_t i = 0; i < std::size(kAttachmentColumns); ++i) {
    if ((present >> i & 1) != 0) columns.emplace_back(kAttachmentColumns[i]);
  }
  return WriteTable(database, layouts.attachments.For(columns),
                    AttachmentRows(database, attachments, rows), database.Unique());
}

// What an object under construction has come to own; gives everything back unless kept.
class Parts {
 public:
  explicit Parts(NodeDatabase& database) : _database(database) {}
  ~Parts() {
    for (const SubnodeEntry& entry : _entries) {
      _database.AbandonBlock(entry.data);
      _database.AbandonBlock(entry.sub);
    }
  }
  void Reserve(std::size_t size) { _entries.reserve(size); }
  void Add(NodeId node, BlockId data, BlockId sub) { _entries.push_back({node, data, sub}); }
  platform::RecycledVector<SubnodeEntry> Take() { return std::move(_entries); }

 private:
  NodeDatabase& _database;
  platform::RecycledVector<SubnodeEntry> _entries;
};

Status AddSizes(const NodeDatabase& database, BlockId data, BlockId subnodes, int depth,
                std::size_t& objects, std::uint64_t& size) {
  if (depth > kMaxDepth || ++objects > kMaxObjects) {
    return {StatusCode::kCorrupt, "subnodes nested without end"};
  }
  auto tree = DataTree::Open(database, data);
  if (!tree.ok()) return tree.status();
  size += tree->size();
  auto subtree = SubnodeTree::Open(database, subnodes);
  if (!subtree.ok()) return subtree.status();
  auto entries = subtree->Entries();
  if (!entries.ok()) return entries.status();
  for (const SubnodeEntry& entry : *entries) {
    Status status = AddSizes(database, entry.data, entry.sub, depth + 1, objects, size);
    if (!status.ok()) return status;
  }
  return {};
}

}  // namespace

const TableLayout& LayoutMemory::For(std::span<const PropTag> columns) {
  if (!std::ranges::equal(columns, _columns)) {
    _columns.assign(columns.begin(), columns.end());
    _layout = TableLayout::FromTags(columns);
  }
  return _layout;
}

Result<std::uint64_t> LogicalSizeOf(const NodeDatabase& database, BlockId data, BlockId subnodes) {
  std::uint64_t size = 0;
  std::size_t objects = 0;
  if (Status status = AddSizes(database, data, subnodes, 0, objects, size); !status.ok()) {
    return status;
  }
  return size;
}

Status KeepAttachmentRow(NodeDatabase& database, PackedRows& rows, const PropertyList& properties,
                         StoredAttachment& attachment) {
  static const std::vector<PropTag> kColumns = [] {
    const auto base = TemplateColumns(kNidAttachmentTable);
    std::vector<PropTag> columns(base.begin(), base.end());
    for (const std::uint32_t value : kAttachmentColumns) columns.emplace_back(value);
    return columns;
  }();
  static_assert(std::size(kAttachmentColumns) <= 32);
  for (std::size_t i = 0; i < std::size(kAttachmentColumns); ++i) {
    if (properties.Find(PropTag(kAttachmentColumns[i]))) attachment.columns |= 1u << i;
  }
  return rows.Add(&database, properties, attachment.row, kColumns);
}

Result<StoredAttachment> BuildAttachment(NodeDatabase& database, PackedRows& rows,
                                         PropertyList properties,
                                         std::optional<StoredMessage> embedded) {
  Parts parts(database);
  PropertyContextBuilder builder(database);
  const auto fail = [&](Status status) {
    AbandonValues(database, properties);
    return status;
  };
  StoredAttachment attachment;
  if (embedded) {
    parts.Add(NodeId(), embedded->data, embedded->subnodes);
    // Owned before its id is known, so that a failure to get one gives it back.
    auto node = database.AllocateNodeId(NodeKind::kMessage);
    if (!node.ok()) return fail(node.status());
    parts.Take();
    parts.Add(*node, embedded->data, embedded->subnodes);
    properties.SetObject(tags::kAttachDataObject,
                         {*node, static_cast<std::uint32_t>(embedded->size)});
    if (!properties.FindId(tags::kAttachMethod.Id())) {
      properties.SetInt32(tags::kAttachMethod, kEmbeddedMethod);
    }
    attachment.size = embedded->size;
  }
  if (!properties.FindId(tags::kRenderingPosition.Id())) {
    properties.SetInt32(tags::kRenderingPosition, -1);
  }
  properties.SetInt32(tags::kAttachSize, 0);
  std::uint64_t values = 0;
  for (const PropertyList::Item& item : properties.items()) values += item.size;
  if (values > kMaxSize) return fail(TooBig("an attachment", values));
  properties.SetInt32(tags::kAttachSize, static_cast<std::int32_t>(values));
  if (Status status = builder.Prepare(properties); !status.ok()) return fail(status);
  if (Status status = builder.Build(properties); !status.ok()) return fail(status);
  attachment.size += builder.size();
  auto node = database.AllocateNodeId(NodeKind::kAttachment);
  if (!node.ok()) return fail(node.status());
  attachment.node = *node;
  const auto written = builder.Write(parts.Take());
  if (!written.ok()) return written.status();
  attachment.data = written->data;
  attachment.subnodes = written->subnodes;
  if (Status status = KeepAttachmentRow(database, rows, properties, attachment); !status.ok()) {
    database.AbandonBlock(attachment.data);
    database.AbandonBlock(attachment.subnodes);
    return status;
  }
  return attachment;
}

Result<StoredMessage> BuildMessage(NodeDatabase& database, PropertyList properties,
                                   const RowSource& recipients,
                                   std::span<const StoredAttachment> attachments,
                                   PackedRows& attachmentRows, MessageLayouts& layouts) {
  Parts parts(database);
  PropertyContextBuilder builder(database);
  std::uint64_t size = 0;
  constexpr std::size_t kBesideAttachments = 64;  // tables and long values
  parts.Reserve(attachments.size() + kBesideAttachments);
  for (const StoredAttachment& attachment : attachments) {
    parts.Add(attachment.node, attachment.data, attachment.subnodes);
    size += attachment.size;
  }
  const auto fail = [&](Status status) {
    AbandonValues(database, properties);
    return status;
  };
  const std::uint64_t flags = properties.Scalar(tags::kMessageFlags).value_or(0);
  properties.SetScalar(tags::kMessageFlags,
                       attachments.empty() ? flags & ~kHasAttachFlag : flags | kHasAttachFlag);
  if (properties.Find(kHasAttachments)) properties.SetBool(kHasAttachments, !attachments.empty());
  if (!properties.FindId(tags::kMessageStatus.Id())) {
    properties.SetInt32(tags::kMessageStatus, 0);
  }
  // The size counts the heap that holds it: a number has its place there first, and gets its value
  // once everything is laid out.
  properties.SetInt32(tags::kMessageSize, 0);
  if (Status status = builder.Prepare(properties); !status.ok()) return fail(status);

  auto recipientTable = WriteRecipients(database, recipients, layouts);
  if (!recipientTable.ok()) return fail(recipientTable.status());
  parts.Add(kNidRecipientTable, recipientTable->roots.data, recipientTable->roots.subnodes);
  size += recipientTable->size;
  if (!attachments.empty()) {
    auto table = WriteAttachmentTable(database, attachments, attachmentRows, layouts);
    if (!table.ok()) return fail(table.status());
    parts.Add(kNidAttachmentTable, table->roots.data, table->roots.subnodes);
    size += table->size;
  }
  if (Status status = builder.Build(properties); !status.ok()) return fail(status);
  size += builder.size();
  if (size > kMaxSize) return fail(TooBig("a message", size));
  builder.SetInt32(tags::kMessageSize, static_cast<std::int32_t>(size));
  properties.SetInt32(tags::kMessageSize, static_cast<std::int32_t>(size));

  StoredMessage message;
  const auto written = builder.Write(parts.Take());
  if (!written.ok()) return written.status();
  message.data = written->data;
  message.subnodes = written->subnodes;
  message.size = size;
  message.properties = std::move(properties);
  return message;
}

}  // namespace parvane::pstfile
