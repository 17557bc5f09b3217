// A sound store, damaged in one place at a time: each fault must be found under its own code.
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/path.h"
#include "pstfile/store/pst_store.h"
#include "tests/pstfile/check_surgeon.h"
#include "tests/pstfile/store_fixture.h"

namespace parvane::pstfile {
namespace {

using check::TreeKind;

constexpr std::size_t kMessages = 70;  // rows beyond one block, nodes beyond one page

// The store under test and where its parts are.
struct Patient {
  Bytes file;
  NodeId inbox;
  NodeId inner;     // below the inbox
  NodeId message;   // the inbox's first: recipients, attachments, an embedded message
  NodeId file1;     // attachment by value, 20,000 bytes
  NodeId carrier;   // attachment with the embedded message
  NodeId embedded;  // subnode of the carrier
  NodeId named;     // a message with two named properties
  std::uint16_t lastName = 0;
};

class StoreMaker : public StoreTest {
 public:
  void TestBody() override {}

  Patient Make() {
    MemoryFiles memory;
    Patient patient;
    auto created = PstStore::Create(memory, u"p.pst",
                                    {.displayName = u"Patient", .encoding = StoreEncoding::kNone});
    EXPECT_TRUE(created.ok()) << created.status().message();
    store = std::move(*created);
    patient.inbox = Folder(u"Inbox");
    patient.inner = Folder(patient.inbox, u"Inner");
    Folder(u"Other");
    auto inside = Write(Message(u"inside", u"inner body"), {Recipient(u"Cleo", u"c@x.org")});
    PropertyList carrier;
    carrier.SetText(kLongName, u"forwarded");
    auto attached = store->WriteAttachment(std::move(carrier), std::move(inside));
    EXPECT_TRUE(attached.ok()) << attached.status().message();
    std::vector<StoredAttachment> attachments;
    attachments.push_back(Attachment(u"data.bin", std::string(20'000, 'x')));
    attachments.push_back(std::move(*attached));
    patient.file1 = attachments[0].node;
    patient.carrier = attachments[1].node;
    auto carried = PropertyReader::Open(
        store->database(), {patient.carrier, attachments[1].data, attachments[1].subnodes});
    EXPECT_TRUE(carried.ok());
    patient.embedded = carried->Object(tags::kAttachDataObject)->node;
    patient.message =
        Insert(patient.inbox, Write(Message(u"first", std::u16string(4000, u'b'), 0x11),
                                    {Recipient(u"Ada", u"a@x.org"), Recipient(u"Ben", u"b@x.org")},
                                    std::move(attachments)));
    for (std::size_t i = 1; i < kMessages; ++i) {
      PropertyList list = Message(u"another", u"body", i % 2);
      if (i == 1) {
        for (const char16_t* name : {u"x-one", u"x-two"}) {
          const auto id =
              store->PropertyIdOfName(PropertyName::String(kPsInternetHeaders, name), true);
          EXPECT_TRUE(id.ok()) << id.status().message();
          patient.lastName = *id;
          list.SetText(PropTag(*id, PropType::kUnicode), u"value");
        }
      }
      const NodeId node = Insert(patient.inbox, std::move(list));
      if (i == 1) patient.named = node;
    }
    PropertyList hidden = Message(u"hidden", u"", 0x41);
    EXPECT_TRUE(store->InsertMessage(patient.inbox, Write(std::move(hidden)), true).ok());
    EXPECT_TRUE(store->Close().ok());
    store.reset();
    patient.file = memory[u"p.pst"];
    return patient;
  }
};

const Patient& ThePatient() {
  static const Patient patient = StoreMaker().Make();
  return patient;
}

using S = Surgeon&;
using P = const Patient&;

struct Fault {
  const char* code;
  const char* what;
  void (*inflict)(S, P);
  bool seal = true;
  const char* says = "";  // where a code has several rules: what tells this one
};

// Short forms for the table.
std::size_t Data(S s, NodeId node) { return s.Data(s.Node(node).data); }
std::size_t Entry(S s, NodeId node) { return s.BlockEntry(s.Node(node).data); }
std::size_t Property(S s, NodeId node, std::uint16_t id) { return s.Property(s.Node(node), id); }
std::size_t Value(S s, NodeId node, std::uint16_t id) { return s.PropertyBytes(s.Node(node), id); }
NodeId Hierarchy(NodeId folder) { return folder.Sibling(NodeKind::kHierarchyTable); }
NodeId Contents(NodeId folder) { return folder.Sibling(NodeKind::kContentsTable); }
void CopyHeader(Surgeon& s) {
  for (std::size_t i = 0; i < kHeaderSize; ++i) s.U8(kHeaderCopyOffset + i) = s.U8(i);
}
BlockId BigTree(S s, P p) {  // the XBLOCK of the 20,000 bytes
  const auto attachment = s.Sub(s.Node(p.message), p.file1);
  return s.Sub(attachment, NodeId(s.U32(s.Property(attachment, 0x3701) + 4))).data;
}

const Fault kFaults[] = {
    // Header and size
    {"header-crc", "a byte flips", [](S s, P) { s.U8(40) ^= 1; }, false},
    {"header-field", "no sentinel", [](S s, P) { s.U8(512) = 0; }},
    {"header-field", "unknown encoding", [](S s, P) { s.U8(513) = 3; }},
    {"header-gap", "stray byte", [](S s, P) { s.U8(0x1000) = 1; }},
    {"header-gap", "copy left behind", [](S s, P) { s.U8(0x2000) = '!'; }},
    {"not-closed", "maps invalid", [](S s, P) { s.U8(248) = 0; }},
    {"file-size", "longer", [](S s, P) { s.file().resize(s.file().size() + 64); }},
    {"file-size", "no whole interval",
     [](S s, P) {
       s.file().resize(s.file().size() + 64);
       s.U64(184, s.file().size());
     }},
    {"header-crc", "torn, beside a whole copy",
     [](S s, P) {
       CopyHeader(s);
       s.U8(41) ^= 1;
     },
     false, "copy at 0x2000 is whole"},
    {"header-field", "map state", [](S s, P) { s.U8(248) = 3; }, true, "fAMapValid is 3"},
    {"header-field", "old map state", [](S s, P) { s.U8(248) = 1; }, true, "no longer written"},
    {"not-closed", "a whole copy of the header",
     [](S s, P) { CopyHeader(s); }, true, "was cut off"},
    // Pages and trees
    {"page-crc", "NBT", [](S s, P) { s.U8(s.NodeLeaf() + 480) ^= 1; }, false},
    {"page-crc", "BBT", [](S s, P) { s.U8(s.pages(TreeKind::kBlocks)[0] + 480) ^= 1; }, false},
    {"page-crc", "AMap", [](S s, P) { s.U8(0x4400 + 500) ^= 1; }, false},
    {"page-type", "BBT becomes NBT",
     [](S s, P) { s.U8(s.pages(TreeKind::kBlocks)[0] + 496) = 0x81; }},
    {"page-type", "PMap", [](S s, P) { s.U8(0x4600 + 497) = 0; }},
    {"page-signature", "NBT", [](S s, P) { s.U8(s.NodeLeaf() + 498) ^= 1; }},
    {"page-signature", "AMap", [](S s, P) { s.U8(0x4400 + 498) = 1; }},
    {"page-id", "trailer", [](S s, P) { s.U8(s.NodeLeaf() + 504) ^= 1; }},
    {"page-id", "beyond the counter", [](S s, P) { s.U64(32, 1); }},
    {"page-id", "AMap's own offset", [](S s, P) { s.U8(0x4400 + 505) ^= 1; }},
    {"page-place", "root beyond the file", [](S s, P) { s.U64(224, s.file().size()); }},
    {"btree-level", "leaf", [](S s, P) { s.U8(s.NodeLeaf() + 491) = 3; }},
    {"btree-format", "cEntMax", [](S s, P) { s.U8(s.NodeLeaf() + 489) = 9; }},
    {"btree-format", "cbEnt", [](S s, P) { s.U8(s.NodeLeaf() + 490) = 24; }},
    {"btree-format", "too many", [](S s, P) { s.U8(s.NodeLeaf() + 488) = 16; }},
    {"btree-order", "entries swapped",
     [](S s, P) { s.Swap(s.NodeLeaf() + 32, s.NodeLeaf() + 64, 32); }},
    {"btree-key", "parent's key",
     [](S s, P) {
       const std::size_t root = s.pages(TreeKind::kNodes)[0];
       s.U64(root + 24, s.U64(root + 24) - 1);
     }},
    {"btree-format", "padding",
     [](S s, P) { s.U8(s.NodeLeaf() + 492) = 1; }, true, "padding before the trailer"},
    {"btree-format", "an empty leaf",
     [](S s, P) { s.U8(s.NodeLeaf() + 488) = 0; }, true, "empty, which"},
    {"btree-order", "children swapped",
     [](S s, P) {
       const std::size_t root = s.pages(TreeKind::kNodes)[0];
       s.Swap(root + 24, root + 48, 24);
     },
     true, "its child is left out"},
    {"btree-key", "into the next leaf",
     [](S s, P) {
       const std::size_t leaf = s.pages(TreeKind::kNodes)[1];
       s.U64(leaf + 32 * (s.U8(leaf + 488) - std::size_t{1}), 0x7FFFFFE1);
     },
     true, "reaches into the next page's range"},
    // Space
    {"amap-last", "one too early", [](S s, P) { s.U64(192, 0x4200); }},
    {"free-count", "cbAMapFree", [](S s, P) { s.U64(200, s.U64(200) + 64); }},
    {"free-count", "cbPMapFree", [](S s, P) { s.U64(208, 512); }},
    {"map-content", "PMap", [](S s, P) { s.U8(0x4600 + 9) = 0; }},
    {"space-leak", "a bit too many",
     [](S s, P) {
       std::size_t at = 0x4400 + 495;
       while (s.U8(at) == 0xFF) --at;
       s.U8(at) |= static_cast<std::uint8_t>(s.U8(at) + 1);
     }},
    {"space-unmarked", "a bit too few", [](S s, P) { s.U8(0x4400 + 2) = 0; }},
    {"space-overlap", "two blocks in one place",
     [](S s, P p) { s.U64(Entry(s, p.message) + 8, Data(s, p.named)); }},
    {"space-on-map", "a block on the AMap",
     [](S s, P p) { s.U64(Entry(s, p.message) + 8, 0x4400); }},
    {"dlist", "stale", [](S s, P) { s.U64(0x4200 + 504, 0x777); }},
    {"map-content", "rgbFM", [](S s, P) { s.U8(256) = 0; }, true, "rgbFM"},
    {"dlist", "page type", [](S s, P) { s.U8(0x4200 + 496) = 0; }, true, "page type"},
    {"dlist", "check sum",
     [](S s, P) { s.U8(0x4200 + 500) ^= 1; }, false, "DList at 0x4200: dwCRC"},
    {"dlist", "too many entries", [](S s, P) { s.U8(0x4201) = 200; }, true, "at most 119"},
    {"dlist", "an AMap that is none",
     [](S s, P) {
       s.U8(0x4201) = 1;
       s.U32(0x4208, 0x7FFFF);
     },
     true, "names AMap"},
    // Blocks
    {"block-place", "not aligned", [](S s, P p) { s.U8(Entry(s, p.message) + 8) |= 1; }},
    {"block-place", "beyond the file",
     [](S s, P p) { s.U64(Entry(s, p.message) + 8, s.file().size()); }},
    {"block-size", "nothing", [](S s, P p) { s.U16(Entry(s, p.message) + 16, 0); }},
    {"tree-block", "shorter than its header",
     [](S s, P p) { s.U16(s.BlockEntry(s.Node(p.message).sub) + 16, 4); }, false, "only 4 bytes"},
    {"block-trailer", "size", [](S s, P p) { s.U8(s.Trailer(s.Node(p.message).data)) ^= 1; }},
    {"block-trailer", "id", [](S s, P p) { s.U8(s.Trailer(s.Node(p.message).data) + 9) ^= 1; }},
    {"block-signature", "wSig", [](S s, P p) { s.U8(s.Trailer(s.Node(p.message).data) + 2) ^= 1; }},
    {"block-crc", "one bit of a value",
     [](S s, P p) { s.U8(Value(s, p.message, 0x0037) + 6) ^= 1; }, false},
    {"block-id", "beyond the counter", [](S s, P) { s.U64(516, 8); }},
    {"tree-total", "lcbTotal", [](S s, P p) { s.U8(s.Data(BigTree(s, p)) + 4) ^= 1; }},
    {"tree-block", "level", [](S s, P p) { s.U8(s.Data(BigTree(s, p)) + 1) = 7; }},
    {"tree-block", "a short block in the middle",
     [](S s, P p) {
       const std::size_t x = s.Data(BigTree(s, p));
       s.Swap(x + 8, x + 24, 8);
     }},
    {"subnode-block", "count", [](S s, P p) { ++s.U8(s.Data(s.Node(p.message).sub) + 2); }},
    {"subnode-order", "entries swapped",
     [](S s, P p) {
       const std::size_t at = s.Data(s.Node(p.message).sub);
       s.Swap(at + 8, at + 32, 24);
     }},
    {"dangling-reference", "a node's data",
     [](S s, P) { s.U64(s.NodeEntry(kNidInternalC01) + 8, 0xFFFFF0); }},
    {"dangling-reference", "in an XBLOCK",
     [](S s, P p) { s.U64(s.Data(BigTree(s, p)) + 8, 0xFFFFF0); }},
    {"reference-count", "one too many", [](S s, P p) { ++s.U8(Entry(s, p.message) + 18); }},
    {"orphan-block", "a node lets go of its data",
     [](S s, P) { s.U64(s.NodeEntry(kNidInternalC01) + 8, 0); }},
    {"orphan-block", "and its count knows",
     [](S s, P) {
       s.U8(Entry(s, kNidInternalC01) + 18) = 1;
       s.U64(s.NodeEntry(kNidInternalC01) + 8, 0);
     }},
    {"reference-count", "a reference led to another block",
     [](S s, P p) {
       s.U64(s.NodeEntry(kNidInternalC01) + 8, s.Node(p.named).data.value);
     }},
    {"limit", "subnodes inside themselves",
     [](S s, P p) {
       const BlockId root = s.Node(p.message).sub;
       for (std::size_t i = 0; i < s.U16(s.Data(root) + 2); ++i)
         s.U64(s.Data(root) + 8 + 24 * i + 16, root.value);
     }},
    {"tree-block", "itself among the data",
     [](S s, P p) {
       s.U64(s.Data(BigTree(s, p)) + 8, BigTree(s, p).value);
     },
     true, "which is an internal block"},
    // Nodes
    {"node-entry", "subnodes in a data block",
     [](S s, P p) { s.U64(s.NodeEntry(p.named) + 16, s.Node(p.named).data.value); }},
    {"node-entry", "high half", [](S s, P) { s.U8(s.NodeLeaf() + 36) = 1; }},
    {"node-parent", "does not exist", [](S s, P p) { s.U32(s.NodeEntry(p.inner) + 24, 0x9992); }},
    {"node-parent", "is no folder", [](S s, P p) { s.U32(s.NodeEntry(p.named) + 24, 0x21); }},
    {"node-counter", "rgnid of messages", [](S s, P) { s.U32(44 + 4 * 4, 0x10000); }},
    {"node-missing", "the recipient template",
     [](S s, P) { s.U32(s.NodeEntry(kNidRecipientTable), 0x694); }},
    {"table-without-folder", "a queue turns into a table",
     [](S s, P) { s.U32(s.NodeEntry(kNidOutgoingQueueTable), 0x64D); }},
    {"node-entry", "a heap item's kind",
     [](S s, P) {
       s.U32(s.NodeEntry(kNidInternalC01), 0xC00);
     },
     true, "kind is that of a heap item"},
    {"node-parent", "of no folder nor message",
     [](S s, P) {
       s.U32(s.NodeEntry(kNidInternalC01) + 24, 0x9992);
     },
     true, "its parent 0x9992 does not exist"},
    {"node-parent", "a search folder",
     [](S s, P p) {
       s.U32(s.NodeEntry(p.named) + 24, kNidSpamSearchFolder.value);
     },
     true, "is a search folder"},
    {"node-parent", "of the root",
     [](S s, P) {
       s.U32(s.NodeEntry(kNidRootFolder) + 24, kNidIpmSubtree.value);
     },
     true, "expected itself"},
    // Heaps, properties, tables
    {"heap", "signature", [](S s, P p) { s.U8(Data(s, p.named) + 2) = 0; }},
    {"heap", "client", [](S s, P p) { s.U8(Data(s, p.named) + 3) = 0x7C; }},
    {"heap-map", "items overlap",
     [](S s, P p) {
       const std::size_t page = Data(s, p.named);
       s.Swap(page + s.U16(page) + 8, page + s.U16(page) + 10, 2);
     }},
    {"heap-free-count", "cFree",
     [](S s, P p) {
       const std::size_t page = Data(s, p.named);
       s.U8(page + s.U16(page) + 2) = 5;
     }},
    {"heap-fill-level", "of the first page", [](S s, P p) { s.U8(Data(s, p.named) + 8) ^= 15; }},
    {"heap-item-unused", "a subject lets go of its text",
     [](S s, P p) { s.U32(Property(s, p.named, 0x0037) + 4, 0); }},
    {"subnode-unused", "a body lets go of its text",
     [](S s, P p) { s.U32(Property(s, p.message, 0x1000) + 4, 0); }},
    {"bth", "key size",
     [](S s, P p) {
       const auto place = s.Node(p.named);
       s.U8(s.Item(place, s.U32(s.Data(place.data) + 4)).first + 1) = 4;
     }},
    {"bth-order", "records swapped",
     [](S s, P p) {
       const std::size_t at = Property(s, p.named, 0x001A);
       s.Swap(at, at + 8, 8);
     }},
    {"property", "no such item", [](S s, P p) { s.U32(Property(s, p.named, 0x0037) + 4, 0xFFE0); }},
    {"property", "unknown type", [](S s, P p) { s.U16(Property(s, p.named, 0x0037) + 2, 0x99); }},
    {"property", "a time on no heap", [](S s, P p) { s.U32(Property(s, p.named, 0x3007) + 4, 0); }},
    {"property-unnamed", "beyond the name map",
     [](S s, P p) { s.U16(Property(s, p.named, p.lastName), 0xFFF0); }},
    {"table", "columns out of order",
     [](S s, P p) {
       const std::size_t info = s.TableInfo(s.Node(Contents(p.inbox)));
       s.Swap(info + 22, info + 30, 8);
     }},
    {"table", "cells overlap",
     [](S s, P p) {
       const auto place = s.Node(Contents(p.inbox));
       s.U16(s.Column(place, 0x0037) + 4, s.U16(s.Column(place, 0x0017) + 4));
     }},
    {"table-rows", "no such subnode",
     [](S s, P p) { s.U32(s.TableInfo(s.Node(Contents(p.inbox))) + 14, 0x7FF); }},
    {"table-index", "two rows exchanged",
     [](S s, P p) {
       const std::size_t leaf = s.RowIndex(s.Node(Contents(p.inbox)));
       s.Swap(leaf + 4, leaf + 12, 4);
     }},
    {"table-cell", "no such item",
     [](S s, P p) { s.U32(s.Cell(s.Node(Contents(p.inbox)), 1, 0x0037), 0xFFE0); }},
    {"table-cell", "row id absent",
     [](S s, P p) { s.ClearCellBit(s.Node(Contents(p.inbox)), 1, 0x67F3); }},
    {"property", "stray bytes beside a boolean",
     [](S s, P) {
       s.U8(Property(s, kNidMessageStore, 0x6633) + 7) = 1;
     },
     true, "unused bytes of its record"},
    {"table", "hidIndex",
     [](S s, P p) { s.U32(s.TableInfo(s.Node(Contents(p.inbox))) + 18, 1); }, true, "hidIndex"},
    {"table-cell", "bits of no column",
     [](S s, P p) {
       const auto place = s.Node(Contents(p.inbox));
       s.U8(s.Row(place, 1) + s.U16(s.TableInfo(place) + 8) - 1) |= 1;
     },
     true, "bits beyond the last column"},
    {"store-property", "no password",
     [](S s, P) {
       s.U16(Property(s, kNidMessageStore, 0x67FF), 0x67FE);
     },
     true, "67FF0003 is missing"},
    {"name-map", "no strings",
     [](S s, P) { s.U16(Property(s, kNidNameToIdMap, 4), 5); }, true, "stream 0x4 is missing"},
    {"name-map", "no buckets",
     [](S s, P) { s.U32(Property(s, kNidNameToIdMap, 1) + 4, 0); }, true, "missing or impossible"},
    {"name-map", "another number of buckets",
     [](S s, P) { s.U32(Property(s, kNidNameToIdMap, 1) + 4, 250); }, true, "every known file has"},
    {"name-map", "GUID of none",
     [](S s, P) { s.U16(Value(s, kNidNameToIdMap, 3) + 4, 0x7FFE); }, true, "has GUID number"},
    // Store, names, folders
    {"store-property", "no record key",
     [](S s, P) { s.U16(Property(s, kNidMessageStore, 0x0FF9), 0xFF8); }},
    {"entry-id", "of another store",
     [](S s, P) { s.U8(Value(s, kNidMessageStore, 0x35E0) + 5) ^= 1; }},
    {"entry-id", "no such folder",
     [](S s, P) { s.U32(Value(s, kNidMessageStore, 0x35E0) + 20, 0x9992); }},
    {"name-map", "entry number", [](S s, P) { s.U16(Value(s, kNidNameToIdMap, 3) + 6, 40); }},
    {"name-map", "text outside its stream",
     [](S s, P) { s.U32(Value(s, kNidNameToIdMap, 3), 999); }},
    {"name-duplicate", "two entries with one text",
     [](S s, P) {
       const std::size_t entries = Value(s, kNidNameToIdMap, 3);
       s.U32(entries + 8, s.U32(entries));
     }},
    {"receive-folder", "no such folder",
     [](S s, P) { s.U32(s.Cell(s.Node(kNidReceiveFolderTable), 0, 0x6605), 0x9992); }},
    {"search-list", "no such folder",
     [](S s, P) { s.U32(Data(s, kNidSearchActivityList), 0x9993); }},
    {"folder-property", "no name", [](S s, P p) { s.U16(Property(s, p.inner, 0x3001), 0x3000); }},
    {"folder-table", "no associated contents",
     [](S s, P p) {
       const NodeId table = p.inbox.Sibling(NodeKind::kAssociatedContentsTable);
       s.U32(s.NodeEntry(table), table.value + 1);
     }},
    {"folder-row", "its folder is elsewhere",
     [](S s, P p) { s.U32(s.NodeEntry(p.inner) + 24, 0x122); }},
    {"folder-unlisted", "a folder without its row",
     [](S s, P p) { s.U32(s.NodeEntry(p.inner) + 24, 0x122); }},
    {"folder-unreachable", "a ring",
     [](S s, P p) { s.U32(s.NodeEntry(p.inbox) + 24, p.inner.value); }},
    {"search-row", "rows that are folders",
     [](S s, P) {
       const NodeId found = kNidSpamSearchFolder.Sibling(NodeKind::kSearchContentsTable);
       s.U64(s.NodeEntry(found) + 8, s.Node(Hierarchy(kNidIpmSubtree)).data.value);
     }},
    {"folder-count", "messages", [](S s, P p) { ++s.U8(Property(s, p.inbox, 0x3602) + 4); }},
    {"folder-count", "unread", [](S s, P p) { ++s.U8(Property(s, p.inbox, 0x3603) + 4); }},
    {"folder-count", "has subfolders",
     [](S s, P p) { s.U8(Property(s, p.inbox, 0x360A) + 4) ^= 1; }},
    {"message-row", "its message is elsewhere",
     [](S s, P p) { s.U32(s.NodeEntry(p.named) + 24, p.inner.value); }},
    {"message-unlisted", "a message without its row",
     [](S s, P p) { s.U32(s.NodeEntry(p.named) + 24, p.inner.value); }},
    {"row-differs", "a hierarchy row's count",
     [](S s, P p) {
       ++s.U8(s.Cell(s.Node(Hierarchy(kNidIpmSubtree)), 0, 0x3602));
       EXPECT_EQ(s.U32(s.Row(s.Node(Hierarchy(kNidIpmSubtree)), 0)), 0x8062U) << p.inbox.value;
     }},
    {"row-differs", "a contents row's time",
     [](S s, P p) { ++s.U8(s.Cell(s.Node(Contents(p.inbox)), 1, 0x3008)); }},
    {"row-differs", "a contents row's size",
     [](S s, P p) { ++s.U8(s.Cell(s.Node(Contents(p.inbox)), 1, 0x0E08)); }},
    {"row-differs", "one letter of an object's subject",
     [](S s, P p) { s.U8(Value(s, p.named, 0x0037) + 6) ^= 1; }},
    {"row-differs", "an attachment row's method",
     [](S s, P p) { s.U32(s.Cell(s.Sub(s.Node(p.message), kNidAttachmentTable), 0, 0x3705), 4); }},
    {"row-lacks-cell", "a subject",
     [](S s, P p) {
       const auto place = s.Node(Contents(p.inbox));
       s.ClearCellBit(place, 1, 0x0037);
       s.U32(s.Cell(place, 1, 0x0037), 0);
     }},
    {"folder-row", "lists a message",
     [](S s, P p) {
       const auto table = s.Node(Hierarchy(p.inbox));
       s.U32(s.Row(table, 0), p.named.value);
       s.U32(s.RowIndex(table), p.named.value);
     },
     true, "which is no folder below it"},
    // Messages
    {"message", "no class", [](S s, P p) { s.U16(Property(s, p.named, 0x001A), 0x001B); }},
    {"message", "an embedded one without class",
     [](S s, P p) {
       const auto message = s.Sub(s.Sub(s.Node(p.message), p.carrier), p.embedded);
       s.U16(s.Property(message, 0x001A), 0x001B);
     }},
    {"message-flags", "attachments, but there are none",
     [](S s, P p) { s.U8(Property(s, p.named, 0x0E07) + 4) |= 0x10; }},
    {"message-flags", "associated, but it is not",
     [](S s, P p) { s.U8(Property(s, p.named, 0x0E07) + 4) |= 0x40; }},
    {"message-size", "one byte off", [](S s, P p) { ++s.U8(Property(s, p.named, 0x0E08) + 4); }},
    {"recipients", "impossible type",
     [](S s, P p) { s.U32(s.Cell(s.Sub(s.Node(p.message), kNidRecipientTable), 0, 0x0C15), 4); }},
    {"display-names", "a letter", [](S s, P p) { ++s.U8(Value(s, p.message, 0x0E04)); }},
    {"attachment", "not in the table",
     [](S s, P p) {
       const auto table = s.Sub(s.Node(p.message), kNidAttachmentTable);
       s.U32(s.Row(table, 0), p.file1.value + 32);
       s.U32(s.RowIndex(table) + 8, p.file1.value + 32);
     }},
    {"attachment", "no method",
     [](S s, P p) { s.U16(s.Property(s.Sub(s.Node(p.message), p.file1), 0x3705), 0x3706); }},
    {"attachment-size", "one byte off",
     [](S s, P p) { ++s.U8(s.Property(s.Sub(s.Node(p.message), p.file1), 0x0E20) + 4); }},
    {"embedded-message", "its size",
     [](S s, P p) { ++s.U8(s.PropertyBytes(s.Sub(s.Node(p.message), p.carrier), 0x3701) + 4); }},
    {"recipients", "no type",
     [](S s, P p) {
       const auto table = s.Sub(s.Node(p.message), kNidRecipientTable);
       s.ClearCellBit(table, 0, 0x0C15);
       s.U32(s.Cell(table, 0, 0x0C15), 0);
     },
     true, "has no recipient type"},
    {"display-names", "missing",
     [](S s, P p) {
       s.U16(Property(s, p.message, 0x0E04), 0x0E05);
     },
     true, "but there are such recipients"},
    {"attachment", "no position",
     [](S s, P p) {
       s.U16(s.Property(s.Sub(s.Node(p.message), p.file1), 0x370B), 0x370C);
     },
     true, "rendering position) is missing"},
    {"attachment", "a row of another kind",
     [](S s, P p) {
       const auto table = s.Sub(s.Node(p.message), kNidAttachmentTable);
       s.U32(s.Row(table, 0), p.file1.value + 1);
       s.U32(s.RowIndex(table), p.file1.value + 1);
     },
     true, "not named by an attachment's id"},
    {"attachment-size", "missing",
     [](S s, P p) {
       s.U16(s.Property(s.Sub(s.Node(p.message), p.file1), 0x0E20), 0x0E21);
     },
     true, "(size) is missing"},
    {"embedded-message", "of another kind",
     [](S s, P p) {
       const auto carrier = s.Sub(s.Node(p.message), p.carrier);
       s.U32(s.PropertyBytes(carrier, 0x3701), p.embedded.value + 1);
       s.U32(s.Data(carrier.sub) + 8, p.embedded.value + 1);
     },
     true, "which is no message's id"},
};

TEST(CheckFaults, ASoundStoreIsClean) {
  Surgeon surgeon(ThePatient().file);
  EXPECT_EQ(surgeon.Check({.notes = true}).text, "");
  surgeon.Seal();
  EXPECT_EQ(surgeon.file(), ThePatient().file) << "sealing must change nothing";
}

TEST(CheckFaults, EachIsFoundUnderItsOwnCode) {
  for (const Fault& fault : kFaults) {
    SCOPED_TRACE(std::string(fault.code) + ": " + fault.what);
    Surgeon surgeon(ThePatient().file);
    fault.inflict(surgeon, ThePatient());
    if (fault.seal) surgeon.Seal();
    const auto outcome = surgeon.Check();
    EXPECT_TRUE(outcome.codes.contains(fault.code)) << outcome.text;
    EXPECT_NE(outcome.text.find(fault.says), std::string::npos) << outcome.text;
    for (const char* crc : {"header-crc", "page-crc", "block-crc"}) {
      const bool sealed = fault.seal && std::string_view(fault.code).substr(0, 5) != "space";
      EXPECT_FALSE(sealed && outcome.codes.contains(crc)) << outcome.text;
    }
  }
}

// Mail is added to a store whose damage lies elsewhere or is mended by the next writer, and to no
// other. Codes in neither list depend on where the fault is.
TEST(CheckFaults, BeforeAnAppendTheWayThereCounts) {
  static const std::set<std::string_view> kRefused = {
      "page-crc",     "page-type",    "page-signature",  "page-id",           "page-place",
      "btree-level",  "btree-format", "btree-order",     "btree-key",         "space-unmarked",
      "space-on-map", "table-rows",   "table-index",     "space-overlap",     "entry-id",
      "folder-table", "folder-row",   "folder-unlisted", "folder-unreachable"};
  static const std::set<std::string_view> kAccepted = {
      "not-closed",   "amap-last",  "free-count",      "map-content",      "space-leak",
      "dlist",        "block-crc",  "block-signature", "node-counter",     "row-differs",
      "message-size", "recipients", "attachment",      "embedded-message", "search-row",
      "message-row",  "message",    "orphan-block",    "reference-count",  "folder-count"};
  EXPECT_TRUE(Surgeon(ThePatient().file).CheckBeforeAppend().ok());
  for (const Fault& fault : kFaults) {
    SCOPED_TRACE(std::string(fault.code) + ": " + fault.what);
    Surgeon surgeon(ThePatient().file);
    fault.inflict(surgeon, ThePatient());
    if (fault.seal) surgeon.Seal();
    const platform::Status way = surgeon.CheckBeforeAppend();
    EXPECT_FALSE(way.ok() && kRefused.contains(fault.code));
    EXPECT_TRUE(way.ok() || !kAccepted.contains(fault.code)) << way.message();
  }
  // A check sum counts where new mail would be listed.
  Surgeon surgeon(ThePatient().file);
  surgeon.U8(Data(surgeon, Contents(ThePatient().inner)) + 40) ^= 1;
  EXPECT_NE(surgeon.CheckBeforeAppend().message().find("dwCRC"), std::string::npos);
}

// The list of codes is the list of rules: none of them without a fault that it finds.
TEST(CheckFaults, EveryCodeHasItsFault) {
  std::set<std::string_view> inflicted;
  for (const Fault& fault : kFaults) inflicted.insert(fault.code);
  const auto header = platform::ReadWholeFile(platform::FileSystem::Default(),
                                              platform::PathFromNative(PARVANE_FINDING_CODES));
  ASSERT_TRUE(header.ok()) << header.status().message();
  std::size_t codes = 0;
  for (std::size_t at = header->find("Code k"); at != header->npos;
       at = header->find("Code k", at)) {
    const std::size_t from = header->find('"', at) + 1;
    at = header->find('"', from);
    const std::string code = header->substr(from, at - from);
    EXPECT_TRUE(inflicted.contains(code)) << code;
    ++codes;
  }
  EXPECT_EQ(codes, inflicted.size());
}

// Bytes overwritten all over: no crash, no endless loop, and seldom nothing to be found.
TEST(CheckFaults, NoiseAnywhereIsFoundAndSurvived) {
  std::uint64_t random = 1;
  const auto next = [&] { return random = random * 6364136223846793005U + 1442695040888963407U; };
  int found = 0;
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    Surgeon surgeon(ThePatient().file);
    for (int i = 0; i < 8; ++i) {
      // Within what is in use: trees, blocks and maps of this file fill its first quarter or so.
      const std::size_t at = 0x4400 + next() / 7 % (surgeon.file().size() / 4);
      surgeon.U8(at) ^= static_cast<std::uint8_t>(1 + next() % 255);
    }
    if (round % 2 == 0) surgeon.Seal();
    const auto outcome = surgeon.Check();
    EXPECT_NE(outcome.text.find("failed"), 0U) << outcome.text;
    found += outcome.codes.empty() ? 0 : 1;
  }
  EXPECT_GT(found, 40);
}

}  // namespace
}  // namespace parvane::pstfile
