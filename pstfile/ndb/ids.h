// The identifiers of a PST's lowest storey, as types that do not mix.
//
// Raw integers stop at the byte codecs; everywhere else an id is a NodeId, BlockId, PageId or
// FileOffset. All are plain values, ordered by their number and printable (ToString).
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace parvane::pstfile {

// The low five bits of a node id: what the node is ([MS-PST] 2.2.2.1).
enum class NodeKind : std::uint8_t {
  kHeapItem = 0x00,  // a HID, never a node
  kInternal = 0x01,  // fixed nodes: store, name map, queues
  kFolder = 0x02,
  kSearchFolder = 0x03,
  kMessage = 0x04,
  kAttachment = 0x05,
  kSearchUpdateQueue = 0x06,
  kSearchCriteria = 0x07,
  kAssociatedMessage = 0x08,
  kReceiveFolderTable = 0x0B,
  kOutgoingQueueTable = 0x0C,
  kHierarchyTable = 0x0D,
  kContentsTable = 0x0E,
  kAssociatedContentsTable = 0x0F,
  kSearchContentsTable = 0x10,
  kAttachmentTable = 0x11,
  kRecipientTable = 0x12,
  kChangeHistoryTable = 0x16,
  kTombstoneTable = 0x17,
  kTombstoneDateTable = 0x18,
  kValue = 0x1F,  // LTP: a subnode that holds a value or a row matrix
};

// Names a node of the file, or a subnode within one node. 0 is no node.
//
//   bits 0..4 kind, bits 5..31 index
struct NodeId {
  std::uint32_t value = 0;

  static constexpr std::uint32_t kMaximumIndex = (1U << 27) - 1;

  constexpr NodeId() = default;
  constexpr explicit NodeId(std::uint32_t nid) : value(nid) {}
  // `index` is at most kMaximumIndex.
  constexpr NodeId(NodeKind kind, std::uint32_t index)
      : value(index << 5 | static_cast<std::uint32_t>(kind)) {}

  constexpr NodeKind Kind() const { return static_cast<NodeKind>(value & 0x1F); }
  constexpr std::uint32_t Index() const { return value >> 5; }
  // The node of another kind that shares this one's index: a folder's tables, say.
  constexpr NodeId Sibling(NodeKind kind) const { return {kind, Index()}; }
  constexpr explicit operator bool() const { return value != 0; }
  friend constexpr auto operator<=>(NodeId, NodeId) = default;
};

// Names a block. 0 is no block (a node without data or without subnodes).
//
//   bit 0 reserved: written 0, ignored when reading
//   bit 1 set for internal blocks (XBLOCK, XXBLOCK, SLBLOCK, SIBLOCK), which are never encoded
//   bits 2.. a number that is never used twice in the life of a file
struct BlockId {
  std::uint64_t value = 0;

  constexpr BlockId() = default;
  constexpr explicit BlockId(std::uint64_t bid) : value(bid & ~std::uint64_t{1}) {}

  constexpr bool IsInternal() const { return (value & 2) != 0; }
  constexpr explicit operator bool() const { return value != 0; }
  friend constexpr auto operator<=>(BlockId, BlockId) = default;
};

// Names a page of one of the two B-trees; a number space of its own, all 64 bits count.
struct PageId {
  std::uint64_t value = 0;

  constexpr PageId() = default;
  constexpr explicit PageId(std::uint64_t id) : value(id) {}
  friend constexpr auto operator<=>(PageId, PageId) = default;
};

// Bytes from the start of the file.
struct FileOffset {
  std::uint64_t value = 0;

  constexpr FileOffset() = default;
  constexpr explicit FileOffset(std::uint64_t offset) : value(offset) {}
  friend constexpr auto operator<=>(FileOffset, FileOffset) = default;
};

// "0x8022", hexadecimal as the published documents write ids.
std::string ToString(NodeId nid);
std::string ToString(BlockId bid);
std::string ToString(PageId id);
std::string ToString(FileOffset offset);
std::string ToHex(std::uint64_t value);

// ---- Predefined nodes ([MS-PST] 2.4.1) ----------------------------------------------------------

inline constexpr NodeId kNidMessageStore{0x21};
inline constexpr NodeId kNidNameToIdMap{0x61};
inline constexpr NodeId kNidRootFolder{0x122};
inline constexpr NodeId kNidSearchManagementQueue{0x1E1};
inline constexpr NodeId kNidSearchActivityList{0x201};
inline constexpr NodeId kNidSearchDomainObject{0x261};
// Tables without rows whose columns new tables start with.
inline constexpr NodeId kNidHierarchyTableTemplate{0x60D};
inline constexpr NodeId kNidContentsTableTemplate{0x60E};
inline constexpr NodeId kNidAssociatedContentsTableTemplate{0x60F};
inline constexpr NodeId kNidSearchContentsTableTemplate{0x610};
inline constexpr NodeId kNidReceiveFolderTable{0x62B};
inline constexpr NodeId kNidOutgoingQueueTable{0x64C};
// At top level the template; inside a message the message's own table, under the same number.
inline constexpr NodeId kNidAttachmentTable{0x671};
inline constexpr NodeId kNidRecipientTable{0x692};
inline constexpr NodeId kNidChangeHistoryTableTemplate{0x6B6};
inline constexpr NodeId kNidTombstoneTableTemplate{0x6D7};
inline constexpr NodeId kNidTombstoneDateTableTemplate{0x6F8};
inline constexpr NodeId kNidInternalC01{0xC01};
inline constexpr NodeId kNidSpamSearchFolder{0x2223};
inline constexpr NodeId kNidIpmSubtree{0x8022};
inline constexpr NodeId kNidSearchRoot{0x8042};
inline constexpr NodeId kNidDeletedItems{0x8062};
// The subnode in which every table keeps its row matrix, when it has one.
inline constexpr NodeId kNidRowMatrix{0x3F};

static_assert(kNidMessageStore == NodeId(NodeKind::kInternal, 1));
static_assert(kNidNameToIdMap == NodeId(NodeKind::kInternal, 3));
static_assert(kNidRootFolder == NodeId(NodeKind::kFolder, 9));
static_assert(kNidSearchManagementQueue == NodeId(NodeKind::kInternal, 0xF));
static_assert(kNidSearchActivityList == NodeId(NodeKind::kInternal, 0x10));
static_assert(kNidSearchDomainObject == NodeId(NodeKind::kInternal, 0x13));
static_assert(kNidHierarchyTableTemplate == NodeId(NodeKind::kHierarchyTable, 0x30));
static_assert(kNidContentsTableTemplate == NodeId(NodeKind::kContentsTable, 0x30));
static_assert(kNidAssociatedContentsTableTemplate ==
              NodeId(NodeKind::kAssociatedContentsTable, 0x30));
static_assert(kNidSearchContentsTableTemplate == NodeId(NodeKind::kSearchContentsTable, 0x30));
static_assert(kNidReceiveFolderTable == NodeId(NodeKind::kReceiveFolderTable, 0x31));
static_assert(kNidOutgoingQueueTable == NodeId(NodeKind::kOutgoingQueueTable, 0x32));
static_assert(kNidAttachmentTable == NodeId(NodeKind::kAttachmentTable, 0x33));
static_assert(kNidRecipientTable == NodeId(NodeKind::kRecipientTable, 0x34));
static_assert(kNidChangeHistoryTableTemplate == NodeId(NodeKind::kChangeHistoryTable, 0x35));
static_assert(kNidTombstoneTableTemplate == NodeId(NodeKind::kTombstoneTable, 0x36));
static_assert(kNidTombstoneDateTableTemplate == NodeId(NodeKind::kTombstoneDateTable, 0x37));
static_assert(kNidInternalC01 == NodeId(NodeKind::kInternal, 0x60));
static_assert(kNidSpamSearchFolder == NodeId(NodeKind::kSearchFolder, 0x111));
static_assert(kNidIpmSubtree == NodeId(NodeKind::kFolder, 0x401));
static_assert(kNidSearchRoot == NodeId(NodeKind::kFolder, 0x402));
static_assert(kNidDeletedItems == NodeId(NodeKind::kFolder, 0x403));
static_assert(kNidRowMatrix == NodeId(NodeKind::kValue, 1));

}  // namespace parvane::pstfile

template <>
struct std::hash<parvane::pstfile::NodeId> {
  std::size_t operator()(parvane::pstfile::NodeId nid) const noexcept {
    return std::hash<std::uint32_t>{}(nid.value);
  }
};

template <>
struct std::hash<parvane::pstfile::BlockId> {
  std::size_t operator()(parvane::pstfile::BlockId bid) const noexcept {
    return std::hash<std::uint64_t>{}(bid.value);
  }
};
