// Every kind of fault the checker tells apart. A code is part of the program's interface: scripts
// compare it, so it is never renamed and never given another meaning.
#pragma once

#include <string_view>

namespace parvane::pstfile::codes {

using Code = std::string_view;

// ---- Header and size ----------------------------------------------------------------------------
inline constexpr Code kHeaderCrc = "header-crc";      // a check sum differs
inline constexpr Code kHeaderField = "header-field";  // a field has a value that is not allowed
inline constexpr Code kHeaderGap = "header-gap";      // bytes before 0x4200 that should be zero
inline constexpr Code kNotClosed = "not-closed";      // the last writer did not finish
inline constexpr Code kFileSize = "file-size";        // size against header or map interval

// ---- Pages and B-trees --------------------------------------------------------------------------
inline constexpr Code kPagePlace = "page-place";
inline constexpr Code kPageType = "page-type";
inline constexpr Code kPageCrc = "page-crc";
inline constexpr Code kPageSignature = "page-signature";
inline constexpr Code kPageId = "page-id";
inline constexpr Code kTreeFormat = "btree-format";  // counts, entry sizes, padding
inline constexpr Code kTreeLevel = "btree-level";
inline constexpr Code kTreeOrder = "btree-order";  // keys not ascending
inline constexpr Code kTreeKey = "btree-key";      // parent's key against child's first key, ranges

// ---- Space --------------------------------------------------------------------------------------
inline constexpr Code kLastMap = "amap-last";             // ibAMapLast
inline constexpr Code kMapContent = "map-content";        // PMap, FMap, FPMap that is not all FF
inline constexpr Code kFreeCount = "free-count";          // cbAMapFree, cbPMapFree
inline constexpr Code kSpaceLeak = "space-leak";          // marked, but belongs to nothing
inline constexpr Code kSpaceUnmarked = "space-unmarked";  // used, but marked free
inline constexpr Code kSpaceOverlap = "space-overlap";
inline constexpr Code kSpaceOnMap = "space-on-map";  // a block or page lies on a map page
inline constexpr Code kDensityList = "dlist";

// ---- Blocks -------------------------------------------------------------------------------------
inline constexpr Code kBlockPlace = "block-place";
inline constexpr Code kBlockSize = "block-size";
inline constexpr Code kBlockTrailer = "block-trailer";  // cb or bid of the trailer
inline constexpr Code kBlockSignature = "block-signature";
inline constexpr Code kBlockCrc = "block-crc";
inline constexpr Code kBlockId = "block-id";      // not below bidNextB
inline constexpr Code kTreeBlock = "tree-block";  // XBLOCK ...: type, level, counts, children
inline constexpr Code kTreeTotal = "tree-total";  // lcbTotal
inline constexpr Code kSubnodeBlock = "subnode-block";
inline constexpr Code kSubnodeOrder = "subnode-order";
inline constexpr Code kDanglingReference = "dangling-reference";
inline constexpr Code kReferenceCount = "reference-count";
inline constexpr Code kOrphanBlock = "orphan-block";

// ---- Nodes --------------------------------------------------------------------------------------
inline constexpr Code kNodeEntry = "node-entry";
inline constexpr Code kNodeParent = "node-parent";
inline constexpr Code kNodeCounter = "node-counter";  // rgnid
inline constexpr Code kNodeMissing = "node-missing";
inline constexpr Code kTableWithoutFolder = "table-without-folder";

// ---- Heaps, B-trees on heaps, property contexts, tables -----------------------------------------
inline constexpr Code kHeap = "heap";         // signature, client, page sizes
inline constexpr Code kHeapMap = "heap-map";  // a page's map of its items
inline constexpr Code kHeapFreeCount = "heap-free-count";
inline constexpr Code kHeapFillLevel = "heap-fill-level";
inline constexpr Code kHeapItemUnused = "heap-item-unused";
inline constexpr Code kSubnodeUnused = "subnode-unused";
inline constexpr Code kBth = "bth";
inline constexpr Code kBthOrder = "bth-order";
inline constexpr Code kProperty = "property";                 // a type or value that cannot be
inline constexpr Code kPropertyUnnamed = "property-unnamed";  // 0x8000.. that the name map lacks
inline constexpr Code kTable = "table";                       // TCINFO, columns
inline constexpr Code kTableRows = "table-rows";              // the row matrix
inline constexpr Code kTableIndex = "table-index";            // row index against matrix
inline constexpr Code kTableCell = "table-cell";              // a cell's value or presence

// ---- Store, names, folders ----------------------------------------------------------------------
inline constexpr Code kStoreProperty = "store-property";
inline constexpr Code kEntryId = "entry-id";
inline constexpr Code kNameMap = "name-map";
inline constexpr Code kNameDuplicate = "name-duplicate";
inline constexpr Code kReceiveFolder = "receive-folder";
inline constexpr Code kSearchList = "search-list";
inline constexpr Code kFolderProperty = "folder-property";
inline constexpr Code kFolderTable = "folder-table";
inline constexpr Code kFolderRow = "folder-row";            // a hierarchy row without its folder
inline constexpr Code kFolderUnlisted = "folder-unlisted";  // a folder without its row
inline constexpr Code kFolderUnreachable = "folder-unreachable";
inline constexpr Code kMessageRow = "message-row";            // a contents row without its message
inline constexpr Code kMessageUnlisted = "message-unlisted";  // a message without its row
inline constexpr Code kSearchRow = "search-row";
inline constexpr Code kFolderCount = "folder-count";
inline constexpr Code kRowDiffers = "row-differs";  // cell against the object's property
inline constexpr Code kRowLacksCell = "row-lacks-cell";

// ---- Messages -----------------------------------------------------------------------------------
inline constexpr Code kMessage = "message";  // unreadable, or a required property is missing
inline constexpr Code kMessageFlags = "message-flags";
inline constexpr Code kMessageSize = "message-size";
inline constexpr Code kRecipients = "recipients";
inline constexpr Code kDisplayNames = "display-names";
inline constexpr Code kAttachment = "attachment";
inline constexpr Code kAttachmentSize = "attachment-size";
inline constexpr Code kEmbeddedMessage = "embedded-message";

// Beyond what the checker follows: nesting, sharing, sizes that no writer produces.
inline constexpr Code kLimit = "limit";

}  // namespace parvane::pstfile::codes
