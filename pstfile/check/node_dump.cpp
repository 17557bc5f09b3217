#include "pstfile/check/node_dump.h"

#include <algorithm>

#include "platform/text.h"
#include "platform/time.h"
#include "pstfile/check/context.h"
#include "pstfile/check/property_check.h"
#include "pstfile/check/table_check.h"
#include "pstfile/ndb/fields.h"

namespace parvane::pstfile {
namespace {

using namespace check;
using platform::Status;
using platform::StatusCode;

// Of damaged files, whose subnodes can contain each other. A message in a message is two levels
// deeper than it: below the attachment that holds it.
constexpr int kMaximumNesting = 16;
// A line that people read: enough to know a value again, and for entry ids whole (36 to 52 bytes).
constexpr std::size_t kShownBytes = 64;
constexpr std::size_t kShownText = 200;
constexpr std::size_t kNameColumn = 40;

std::string_view KindName(NodeKind kind) {
  switch (kind) {
    case NodeKind::kInternal:
      return "internal node";
    case NodeKind::kFolder:
      return "folder";
    case NodeKind::kSearchFolder:
      return "search folder";
    case NodeKind::kMessage:
      return "message";
    case NodeKind::kAttachment:
      return "attachment";
    case NodeKind::kAssociatedMessage:
      return "hidden message";
    case NodeKind::kHierarchyTable:
      return "hierarchy table";
    case NodeKind::kContentsTable:
      return "contents table";
    case NodeKind::kAssociatedContentsTable:
      return "table of hidden messages";
    case NodeKind::kSearchContentsTable:
      return "contents table of a search folder";
    case NodeKind::kAttachmentTable:
      return "attachment table";
    case NodeKind::kRecipientTable:
      return "recipient table";
    case NodeKind::kValue:
      return "value or row matrix";
    default:
      return "node of another kind";
  }
}

std::string InHex(std::span<const std::byte> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::byte b : bytes) {
    text += kDigits[std::to_integer<unsigned>(b) >> 4];
    text += kDigits[std::to_integer<unsigned>(b) & 15];
  }
  return text;
}

std::string Shown(PropType type, Value& value) {
  if (type == PropType::kBoolean) return value.Number() != 0 ? "true" : "false";
  if (type == PropType::kTime) {
    // The number, too: dates that are none, and what lies below the second, are faults to look for.
    const std::uint64_t ticks = value.Number();
    platform::SystemTime t;
    if (!platform::FileTimeToSystemTime(platform::FileTimeFromTicks(ticks), &t))
      return Say(Hex{ticks});
    const auto two = [](unsigned n) { return (n < 10 ? "0" : "") + std::to_string(n); };
    return Say(t.wYear, "-", two(t.wMonth), "-", two(t.wDay), " ", two(t.wHour), ":",
               two(t.wMinute), ":", two(t.wSecond), " UTC (", Hex{ticks}, ")");
  }
  if (IsScalar(type)) return Say(value.Number(), " (", Hex{value.Number()}, ")");
  const bool isText = type == PropType::kUnicode || type == PropType::kString8;
  const std::vector<std::byte> bytes = value.Bytes(isText ? kShownText : kShownBytes);
  std::string text = type == PropType::kUnicode ? platform::Utf16ToUtf8(check::TextOf(bytes))
                     : type == PropType::kString8
                         ? std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size())
                         : InHex(bytes);
  if (isText) text = "\"" + text + "\"";
  return value.size() > bytes.size() ? Say(text, "... (", value.size(), " bytes)") : text;
}

// Walks with the checker's own readers, so that what it meets and cannot read is reported as a
// check would, and nothing that the writer believes gets between the file and the eye.
class Dump {
 public:
  Dump(Context& context, DumpSink& sink) : _context(context), _sink(sink) {}

  void Node(NodeId nid, Location at, const std::string& title, int depth) {
    std::string line = Say(title, " ", nid, ": ", KindName(nid.Kind()));
    if (at.data) line += Say(", data in block ", at.data);
    if (at.sub) line += Say(", subnodes in block ", at.sub);
    Line(depth, line);
    // The node's kind is only what its id promises; what its data is, a heap says itself. A dump is
    // wanted most where the two disagree.
    const std::string where = Say(title, " ", nid);
    auto data = DataView::Open(_context.image, at.data);
    const auto first = data ? data->ReadBlock(0) : std::nullopt;
    if (at.data && !first) Line(depth + 1, "its data cannot be read");
    const auto client = first && BeginsHeap(first->bytes())
                            ? LoadField<HeapClient>(first->bytes(), fields::HeapHeader::kClient)
                            : HeapClient{};
    if (client == HeapClient::kPropertyContext) {
      Properties(at, where, depth + 1);
    } else if (client == HeapClient::kTableContext) {
      Rows(at, where, depth + 1);
    } else if (first) {
      Line(depth + 1, Say(data->size(), " bytes: ",
                          InHex(first->bytes().first(std::min(first->size(), kShownBytes))),
                          data->size() > kShownBytes ? "..." : ""));
    }
    Subnodes(at, depth + 1);
  }

 private:
  void Line(int depth, const std::string& text) {
    _sink.OnLine(std::string(2 * static_cast<std::size_t>(depth), ' ') + text);
  }

  void Property(PropTag tag, const std::string& value, int depth) {
    std::string name = ToString(tag) + " " + std::string(_sink.NameOfTag(tag.value));
    name.resize(std::max(kNameColumn, name.size()), ' ');
    Line(depth, name + " " + value);
  }

  void Properties(Location at, const std::string& where, int depth) {
    auto context = PropertyContext::Open(_context, at, where);
    if (!context) return;  // that has been reported
    for (const PropertyEntry& entry : context->entries()) {
      if (const auto object = entry.tag.Type() == PropType::kObject
                                  ? context->Object(entry.tag.Id())
                                  : std::nullopt) {
        Property(entry.tag, Say("object in subnode ", object->node, ", ", object->size, " bytes"),
                 depth);
        continue;
      }
      auto value = context->ValueOf(entry);
      Property(entry.tag, value ? Shown(entry.tag.Type(), *value) : "cannot be read", depth);
    }
  }

  void Rows(Location at, const std::string& where, int depth) {
    const auto table = Table::Open(_context, at, where);
    if (!table) return;  // that has been reported
    Line(depth, Say(table->columns().size(), " columns, ", table->rows(), " rows"));
    table->ForEachRow([&](std::span<const std::byte> row) {
      Line(depth, Say("row ", Hex{Table::RowId(row)}));
      for (const TableColumn& column : table->columns()) {
        if (!table->Has(row, column)) continue;
        auto cell = table->Cell(row, column);
        Property(column.tag, cell ? Shown(column.tag.Type(), *cell) : "cannot be read", depth + 1);
      }
    });
  }

  void Subnodes(Location at, int depth) {
    if (!at.sub) return;
    const auto list = SubnodeList::Open(_context.image, at.sub);
    if (!list) return Line(depth, "its subnodes cannot be read");
    for (const SubnodeEntry& subnode : list->all()) {
      if (depth >= kMaximumNesting) return Line(depth, "and deeper ones");
      Node(subnode.nid, {subnode.data, subnode.sub}, "subnode", depth);
    }
  }

  Context& _context;
  DumpSink& _sink;
};

}  // namespace

Status DumpNode(platform::FileSystem& files, std::u16string_view path, std::uint32_t nid,
                DumpSink& sink) {
  auto image = Image::Open(files, path);
  if (!image.ok()) return image.status();
  CheckSummary summary;
  summary.fileSize = (*image)->size();
  // A node is looked at for itself: folders, names and the store around it stay unread, and what
  // would take them to judge is not judged.
  const CheckOptions options;
  Reporter reporter(options, sink, summary);
  const auto node = (*image)->FindNode(NodeId(nid));
  if (!node) return {StatusCode::kNotFound, "there is no node " + ToString(NodeId(nid)) + " in it"};
  FolderDirectory folders;
  sink.OnLine(Say("in node ", node->parent));
  Context context{**image, reporter, folders, 100'000'000, std::nullopt, std::nullopt};
  Dump(context, sink).Node(node->nid, {node->data, node->sub}, "node", 0);
  // What the disk refused looked like damage above.
  return (*image)->readStatus();
}

}  // namespace parvane::pstfile
