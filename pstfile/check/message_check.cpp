#include "pstfile/check/message_check.h"

#include <array>
#include <utility>
#include <vector>

#include "pstfile/check/row_compare.h"
#include "pstfile/check/table_check.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::uint32_t kFlagHasAttachments = 0x10;
constexpr std::uint32_t kFlagAssociated = 0x40;
constexpr std::uint32_t kMethodByValue = 1;
constexpr std::uint32_t kMethodEmbedded = 5;
constexpr std::uint16_t kAttachDataId = 0x3701;
constexpr PropTag kHasAttachments{0x0E1B000B};
// Longer lists of names are not put together to be compared.
constexpr std::size_t kMaximumNames = std::size_t{1} << 20;

// The bytes of data of an object: its own and those of all its subnodes, recursively. None when
// the tree is too deep or too large to be honest.
std::optional<std::uint64_t> DataBelow(Context& context, Location location,
                                       const std::string& where, int depth) {
  std::uint64_t size = context.image.DataSize(location.data);
  if (!location.sub) return size;
  const auto subnodes = SubnodeList::Open(context.image, location.sub);
  if (!subnodes) return std::nullopt;
  if (depth > 2 * kMaximumDepth) {
    context.reporter.Error(codes::kLimit, where + ": its subnodes are nested without end");
    return std::nullopt;
  }
  // Blocks can be shared, so a small file can have a tree of any size: the work is counted, not the
  // bytes.
  if (!context.Spend(1 + subnodes->all().size() / 16, where)) {
    return std::nullopt;
  }
  for (const SubnodeEntry& subnode : subnodes->all()) {
    const auto below = DataBelow(context, {subnode.data, subnode.sub}, where, depth + 1);
    if (!below) return std::nullopt;
    size += *below;
  }
  return size;
}

class MessageCheck {
 public:
  MessageCheck(Context& context, Location location, const std::string& where, MessageKind kind,
               int depth)
      : _context(context), _location(location), _where(where), _kind(kind), _depth(depth) {}

  std::unique_ptr<PropertyContext> Run() {
    auto opened = PropertyContext::Open(_context, _location, _where);
    if (!opened) return nullptr;
    _pc = std::make_unique<PropertyContext>(std::move(*opened));
    JudgeRequired();
    CheckAttachments();
    CheckRecipients();
    JudgeFlags();
    JudgeSize();
    _pc->Finish();
    return std::move(_pc);
  }

 private:
  void Error(codes::Code code, const std::string& what) {
    _context.reporter.Error(code, _where + ": " + what);
  }
  void Habit(codes::Code code, const std::string& what) {
    _context.reporter.Habit(code, _where + ": " + what);
  }

  void JudgeRequired();
  void JudgeFlags();
  void JudgeSize();
  void CheckRecipients();
  void JudgeNames(PropTag tag, const char* name, const std::u16string& expected);
  void CheckAttachments();
  void CheckAttachment(NodeId nid, const SubnodeEntry& subnode, Table& table,
                       std::span<const std::byte> row);
  void JudgeAttachment(PropertyContext& attachment);
  void CheckEmbedded(PropertyContext& attachment, const ObjectFacts& object);

  Context& _context;
  Location _location;
  const std::string& _where;
  MessageKind _kind;
  int _depth;
  std::unique_ptr<PropertyContext> _pc;
  std::uint32_t _attachments = 0;
};

void MessageCheck::JudgeRequired() {
  struct Required {
    PropTag tag;
    const char* name;
    bool needed;  // by readers; else an omission that Outlook sometimes makes
  };
  static constexpr Required kRequired[] = {
      {tags::kMessageClass, "message class", true},
      {tags::kMessageFlags, "message flags", true},
      {tags::kMessageSize, "message size", true},
      {tags::kCreationTime, "creation time", false},
      {tags::kLastModificationTime, "last modification time", false},
      {tags::kSearchKey, "search key", false},
  };
  for (const Required& required : kRequired) {
    if (_pc->Has(required.tag.Id())) continue;
    const std::string what =
        Say("property ", ToString(required.tag), " (", required.name, ") is missing");
    if (required.needed && _kind != MessageKind::kAssociated) {
      Error(codes::kMessage, what);
    } else {
      Habit(codes::kMessage, what);
    }
  }
}

void MessageCheck::JudgeFlags() {
  const auto flags = static_cast<std::uint32_t>(_pc->Number(tags::kMessageFlags).value_or(0));
  if (((flags & kFlagHasAttachments) != 0) != (_attachments != 0)) {
    Error(codes::kMessageFlags,
          Say("message flags ", Hex{flags}, " with ", _attachments, " attachments"));
  }
  if (((flags & kFlagAssociated) != 0) != (_kind == MessageKind::kAssociated)) {
    Error(codes::kMessageFlags,
          Say("message flags ", Hex{flags}, ", but it ",
              _kind == MessageKind::kAssociated ? "is" : "is not", " an associated message"));
  }
  const auto has = _pc->Number(kHasAttachments);
  if (has && (*has != 0) != (_attachments != 0)) {
    Error(codes::kMessageFlags,
          Say("property 0E1B000B (has attachments) is ", *has, " with ", _attachments));
  }
}

void MessageCheck::JudgeSize() {
  const auto found = _pc->Number(tags::kMessageSize);
  const auto expected = DataBelow(_context, _location, _where, 0);
  if (!found || !expected || *found == *expected) return;
  // Old versions of Outlook summed up the values instead.
  Habit(codes::kMessageSize,
        Say("message size ", *found, ", the message and its subnodes hold ", *expected, " bytes"));
}

void MessageCheck::CheckRecipients() {
  const SubnodeEntry* subnode = _pc->heap().UseSubnode(kNidRecipientTable);
  if (subnode == nullptr) {
    if (_kind != MessageKind::kAssociated) Habit(codes::kRecipients, "it has no recipient table");
    return;
  }
  auto table = Table::Open(_context, {subnode->data, subnode->sub}, _where + " recipient table");
  if (!table) return;
  std::array<std::u16string, 4> names;  // by recipient type
  std::array<bool, 4> any{};
  bool comparable = true;
  table->ForEachRow([&](std::span<const std::byte> row) {
    ++_context.reporter.summary().recipients;
    const auto type = table->Number(row, tags::kRecipientType);
    const Hex id{Table::RowId(row)};
    if (!type) {
      Error(codes::kRecipients, Say("recipient ", id, " has no recipient type"));
      return;
    }
    // The bits above are flags of the delivery. 0 is the originator.
    const std::uint64_t kind = *type & 0xF;
    if (kind > 3) {
      Error(codes::kRecipients, Say("recipient ", id, " is of type ", *type));
      return;
    }
    const TableColumn* column = table->ColumnOf(tags::kDisplayName.Id());
    auto name = column != nullptr ? table->Cell(row, *column) : std::nullopt;
    if (!name) Habit(codes::kRecipients, Say("recipient ", id, " has no display name"));
    std::u16string& list = names[static_cast<std::size_t>(kind)];
    if (any[static_cast<std::size_t>(kind)]) list += u"; ";
    any[static_cast<std::size_t>(kind)] = true;
    if (name) list += TextOf(name->Bytes(2 * kMaximumNames + 2));
    if (list.size() > kMaximumNames) {
      comparable = false;
      list.clear();
    }
  });
  table->Finish();
  if (!comparable) return;
  JudgeNames(PropTag(0x0E04001F), "To", names[1]);
  JudgeNames(PropTag(0x0E03001F), "Cc", names[2]);
  JudgeNames(PropTag(0x0E02001F), "Bcc", names[3]);
}

void MessageCheck::JudgeNames(PropTag tag, const char* name, const std::u16string& expected) {
  const auto bytes = _pc->Bytes(tag, 2 * kMaximumNames + 2);
  if (!bytes && !_pc->Has(tag.Id())) {
    if (!expected.empty()) {
      Habit(codes::kDisplayNames, Say("property ", ToString(tag), " (", name,
                                      ") is missing, but there are such recipients"));
    }
    return;
  }
  if (!bytes) return;  // of another type
  std::u16string found = TextOf(*bytes);
  while (!found.empty() && found.back() == u'\0') found.pop_back();
  if (found != expected) {
    Habit(codes::kDisplayNames,
          Say("property ", ToString(tag), " (", name, ") of ", found.size(),
              " characters is not the list of its recipients' names, ", expected.size()));
  }
}

void MessageCheck::CheckAttachments() {
  // A copy: the walk below marks what it meets.
  const auto subnodes = _pc->heap().subnodes().all();
  const SubnodeEntry* tableNode = _pc->heap().UseSubnode(kNidAttachmentTable);
  std::unique_ptr<Table> table;
  if (tableNode != nullptr) {
    table = Table::Open(_context, {tableNode->data, tableNode->sub}, _where + " attachment table");
    if (!table) return;
    table->ForEachRow([&](std::span<const std::byte> row) {
      ++_attachments;
      const NodeId nid(Table::RowId(row));
      if (nid.Kind() != NodeKind::kAttachment) {
        Error(codes::kAttachment,
              Say("attachment row ", nid, " is not named by an attachment's id"));
      }
      const SubnodeEntry* subnode = _pc->heap().UseSubnode(nid);
      if (subnode == nullptr) {
        Error(codes::kAttachment, Say("attachment ", nid, " is in the table and does not exist"));
        return;
      }
      CheckAttachment(nid, *subnode, *table, row);
    });
  }
  for (const SubnodeEntry& subnode : subnodes) {
    if (subnode.nid.Kind() != NodeKind::kAttachment) continue;
    _pc->heap().UseSubnode(subnode.nid);
    if (table && table->HasRow(subnode.nid.value)) continue;
    Error(codes::kAttachment,
          Say("attachment ", subnode.nid,
              table ? " is not in the attachment table" : " exists without an attachment table"));
  }
  if (table) table->Finish();
}

void MessageCheck::CheckAttachment(NodeId nid, const SubnodeEntry& subnode, Table& table,
                                   std::span<const std::byte> row) {
  ++_context.reporter.summary().attachments;
  auto attachment = PropertyContext::Open(_context, {subnode.data, subnode.sub},
                                          Say(_where, " attachment ", nid));
  if (!attachment) return;
  JudgeAttachment(*attachment);
  CompareRow(table, row, *attachment, [&] { return Say(_where, " attachment row ", nid); });
  attachment->Finish();
}

void MessageCheck::JudgeAttachment(PropertyContext& attachment) {
  const auto error = [&](codes::Code code, const std::string& what) {
    attachment.heap().Fault(code, what);
  };
  const auto method = attachment.Number(tags::kAttachMethod);
  if (!method) error(codes::kAttachment, "property 37050003 (method) is missing");
  if (!attachment.Has(tags::kRenderingPosition.Id())) {
    attachment.heap().Habit(codes::kAttachment,
                            "property 370B0003 (rendering position) is missing");
  }
  const auto size = attachment.Number(tags::kAttachSize);
  if (!size) {
    attachment.heap().Habit(codes::kAttachmentSize, "property 0E200003 (size) is missing");
  } else if (*size != attachment.valueBytes()) {
    attachment.heap().Habit(codes::kAttachmentSize, Say("size ", *size, ", its values hold ",
                                                        attachment.valueBytes(), " bytes"));
  }
  const auto object = attachment.Object(kAttachDataId);
  if (method == kMethodByValue && !attachment.Has(kAttachDataId)) {
    attachment.heap().Habit(codes::kAttachment, "attached by value, but without data");
  }
  if (method == kMethodEmbedded) {
    if (object) {
      CheckEmbedded(attachment, *object);
    } else {
      error(codes::kEmbeddedMessage, "an embedded message, but property 3701000D is missing");
    }
  }
}

void MessageCheck::CheckEmbedded(PropertyContext& attachment, const ObjectFacts& object) {
  const SubnodeEntry* subnode = attachment.heap().UseSubnode(object.node);
  if (subnode == nullptr) return;  // told by the check of the property
  ++_context.reporter.summary().embeddedMessages;
  if (object.node.Kind() != NodeKind::kMessage) {
    attachment.heap().Fault(
        codes::kEmbeddedMessage,
        Say("its embedded message is named ", object.node, ", which is no message's id"));
  }
  if (_depth + 1 >= kMaximumDepth) {
    attachment.heap().Fault(codes::kLimit, "messages embedded too deeply are not examined");
    return;
  }
  const std::string where = attachment.where() + " message " + ToString(object.node);
  auto message = CheckMessage(_context, {subnode->data, subnode->sub}, where,
                              MessageKind::kEmbedded, _depth + 1);
  if (!message) return;
  const auto size = message->Number(tags::kMessageSize);
  if (size && *size != object.size) {
    attachment.heap().Habit(codes::kEmbeddedMessage, Say("property 3701000D tells ", object.size,
                                                         " bytes, the embedded message ", *size));
  }
}

}  // namespace

std::unique_ptr<PropertyContext> CheckMessage(Context& context, Location location,
                                              const std::string& where, MessageKind kind,
                                              int depth) {
  return MessageCheck(context, location, where, kind, depth).Run();
}

}  // namespace parvane::pstfile::check
