// Where every field of the format's fixed structures is and how long, for the codecs of all layers.
// docs/pst_format.md shows the same tables, and a test compares the two.
//
// Names are those of the published format. A structure's fields follow each other without gaps.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace parvane::pstfile {

struct Field {
  std::string_view name;
  std::size_t offset = 0;
  std::size_t size = 0;
};

// A field of 1, 2, 4 or 8 bytes in the structure that begins at `base`.
template <typename T = std::uint64_t>
constexpr T LoadField(std::span<const std::byte> bytes, const Field& field, std::size_t base = 0) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < field.size; ++i) {
    value |= static_cast<std::uint64_t>(bytes[base + field.offset + i]) << (8 * i);
  }
  return static_cast<T>(value);
}
constexpr void StoreField(std::span<std::byte> bytes, const Field& field, std::uint64_t value,
                          std::size_t base = 0) {
  for (std::size_t i = 0; i < field.size; ++i) {
    bytes[base + field.offset + i] = static_cast<std::byte>(value >> (8 * i));
  }
}

namespace fields {

// The first 564 bytes of the file, ROOT (180..251) included.
struct Header {
  static constexpr Field kMagic{"dwMagic", 0, 4};
  static constexpr Field kPartialCrc{"dwCRCPartial", 4, 4};
  static constexpr Field kMagicClient{"wMagicClient", 8, 2};
  static constexpr Field kVersion{"wVer", 10, 2};
  static constexpr Field kClientVersion{"wVerClient", 12, 2};
  static constexpr Field kPlatformCreate{"bPlatformCreate", 14, 1};
  static constexpr Field kPlatformAccess{"bPlatformAccess", 15, 1};
  static constexpr Field kReserved1{"dwReserved1", 16, 4};
  static constexpr Field kReserved2{"dwReserved2", 20, 4};
  static constexpr Field kUnusedBlockId{"bidUnused", 24, 8};
  static constexpr Field kNextPageId{"bidNextP", 32, 8};
  static constexpr Field kUnique{"dwUnique", 40, 4};
  static constexpr Field kCounters{"rgnid", 44, 128};
  static constexpr Field kUnused{"qwUnused", 172, 8};
  static constexpr Field kRootReserved{"dwReserved", 180, 4};
  static constexpr Field kEndOfFile{"ibFileEof", 184, 8};
  static constexpr Field kLastAMap{"ibAMapLast", 192, 8};
  static constexpr Field kFreeBytes{"cbAMapFree", 200, 8};
  static constexpr Field kFreePageBytes{"cbPMapFree", 208, 8};
  static constexpr Field kNodeRoot{"BREFNBT", 216, 16};
  static constexpr Field kBlockRoot{"BREFBBT", 232, 16};
  static constexpr Field kMapState{"fAMapValid", 248, 1};
  static constexpr Field kRootTail{"bReserved, wReserved", 249, 3};
  static constexpr Field kAlign{"dwAlign", 252, 4};
  static constexpr Field kFreeMap{"rgbFM", 256, 128};
  static constexpr Field kFreePageMap{"rgbFP", 384, 128};
  static constexpr Field kSentinel{"bSentinel", 512, 1};
  static constexpr Field kCryptMethod{"bCryptMethod", 513, 1};
  static constexpr Field kReserved{"rgbReserved", 514, 2};
  static constexpr Field kNextBlockId{"bidNextB", 516, 8};
  static constexpr Field kFullCrc{"dwCRCFull", 524, 4};
  static constexpr Field kReserved3{"rgbReserved2, bReserved", 528, 4};
  static constexpr Field kMark{"rgbReserved3", 532, 32};
  static constexpr std::array kAll{
      kMagic,          kPartialCrc,  kMagicClient,  kVersion,       kClientVersion, kPlatformCreate,
      kPlatformAccess, kReserved1,   kReserved2,    kUnusedBlockId, kNextPageId,    kUnique,
      kCounters,       kUnused,      kRootReserved, kEndOfFile,     kLastAMap,      kFreeBytes,
      kFreePageBytes,  kNodeRoot,    kBlockRoot,    kMapState,      kRootTail,      kAlign,
      kFreeMap,        kFreePageMap, kSentinel,     kCryptMethod,   kReserved,      kNextBlockId,
      kFullCrc,        kReserved3,   kMark};
};
// What the two check sums of the header cover.
inline constexpr Field kPartialCrcRange{"dwCRCPartial", 8, 471};
inline constexpr Field kFullCrcRange{"dwCRCFull", 8, 516};

// A reference to a page.
struct PageReference {
  static constexpr Field kId{"bid", 0, 8};
  static constexpr Field kOffset{"ib", 8, 8};
  static constexpr std::array kAll{kId, kOffset};
};

// The end of every page.
struct PageTrailer {
  static constexpr Field kType{"ptype", 496, 1};
  static constexpr Field kTypeRepeat{"ptypeRepeat", 497, 1};
  static constexpr Field kSignature{"wSig", 498, 2};
  static constexpr Field kCrc{"dwCRC", 500, 4};
  static constexpr Field kId{"bid", 504, 8};
  static constexpr std::array kAll{kType, kTypeRepeat, kSignature, kCrc, kId};
};

// A page of a B-tree, up to its trailer.
struct TreePage {
  static constexpr Field kEntries{"rgEntries", 0, 488};
  static constexpr Field kCount{"cEnt", 488, 1};
  static constexpr Field kMaximum{"cEntMax", 489, 1};
  static constexpr Field kEntrySize{"cbEnt", 490, 1};
  static constexpr Field kLevel{"cLevel", 491, 1};
  static constexpr Field kPadding{"dwPadding", 492, 4};
  static constexpr std::array kAll{kEntries, kCount, kMaximum, kEntrySize, kLevel, kPadding};
};

struct BranchEntry {
  static constexpr Field kKey{"btkey", 0, 8};
  static constexpr Field kChild{"BREF", 8, 16};
  static constexpr std::array kAll{kKey, kChild};
};

struct BlockEntry {
  static constexpr Field kId{"bid", 0, 8};
  static constexpr Field kOffset{"ib", 8, 8};
  static constexpr Field kDataSize{"cb", 16, 2};
  static constexpr Field kReferences{"cRef", 18, 2};
  static constexpr Field kPadding{"dwPadding", 20, 4};
  static constexpr std::array kAll{kId, kOffset, kDataSize, kReferences, kPadding};
};

struct NodeEntry {
  static constexpr Field kId{"nid", 0, 8};
  static constexpr Field kData{"bidData", 8, 8};
  static constexpr Field kSub{"bidSub", 16, 8};
  static constexpr Field kParent{"nidParent", 24, 4};
  static constexpr Field kPadding{"dwPadding", 28, 4};
  static constexpr std::array kAll{kId, kData, kSub, kParent, kPadding};
};

// The density list, up to its trailer: where an allocation map has how much free. It is a hint
// only.
struct DensityList {
  static constexpr Field kFlags{"bFlags", 0, 1};
  static constexpr Field kCount{"cEntDList", 1, 1};
  static constexpr Field kPadding{"wPadding", 2, 2};
  static constexpr Field kCurrent{"ulCurrentPage", 4, 4};
  static constexpr Field kEntries{"rgDListPageEnt", 8, 476};
  static constexpr Field kTail{"rgPadding", 484, 12};
  static constexpr std::array kAll{kFlags, kCount, kPadding, kCurrent, kEntries, kTail};
};

// The end of a block's space.
struct BlockTrailer {
  static constexpr Field kDataSize{"cb", 0, 2};
  static constexpr Field kSignature{"wSig", 2, 2};
  static constexpr Field kCrc{"dwCRC", 4, 4};
  static constexpr Field kId{"bid", 8, 8};
  static constexpr std::array kAll{kDataSize, kSignature, kCrc, kId};
};

// The start of an XBLOCK, XXBLOCK, SLBLOCK or SIBLOCK.
struct InternalBlock {
  static constexpr Field kType{"btype", 0, 1};
  static constexpr Field kLevel{"cLevel", 1, 1};
  static constexpr Field kCount{"cEnt", 2, 2};
  static constexpr Field kTotal{"lcbTotal", 4, 4};
  static constexpr std::array kAll{kType, kLevel, kCount, kTotal};
};

struct SubnodeEntry {
  static constexpr Field kId{"nid", 0, 8};
  static constexpr Field kData{"bidData", 8, 8};
  static constexpr Field kSub{"bidSub", 16, 8};
  static constexpr std::array kAll{kId, kData, kSub};
};

struct SubnodeIndexEntry {
  static constexpr Field kId{"nid", 0, 8};
  static constexpr Field kBlock{"bid", 8, 8};
  static constexpr std::array kAll{kId, kBlock};
};

// The start of a heap's page 0. Every heap page begins with ibHnpm.
struct HeapHeader {
  static constexpr Field kMap{"ibHnpm", 0, 2};
  static constexpr Field kSignature{"bSig", 2, 1};
  static constexpr Field kClient{"bClientSig", 3, 1};
  static constexpr Field kUserRoot{"hidUserRoot", 4, 4};
  static constexpr Field kFillLevels{"rgbFillLevel", 8, 4};
  static constexpr std::array kAll{kMap, kSignature, kClient, kUserRoot, kFillLevels};
};

// The start of heap pages 8, 136, 264 ...
struct HeapBitmapHeader {
  static constexpr Field kMap{"ibHnpm", 0, 2};
  static constexpr Field kFillLevels{"rgbFillLevel", 2, 64};
  static constexpr std::array kAll{kMap, kFillLevels};
};

// The map of a heap page, up to its first item's start.
struct HeapPageMap {
  static constexpr Field kCount{"cAlloc", 0, 2};
  static constexpr Field kFree{"cFree", 2, 2};
  static constexpr std::array kAll{kCount, kFree};
};

struct BthHeader {
  static constexpr Field kType{"bType", 0, 1};
  static constexpr Field kKeySize{"cbKey", 1, 1};
  static constexpr Field kDataSize{"cbEnt", 2, 1};
  static constexpr Field kLevels{"bIdxLevels", 3, 1};
  static constexpr Field kRoot{"hidRoot", 4, 4};
  static constexpr std::array kAll{kType, kKeySize, kDataSize, kLevels, kRoot};
};

// A record of a property context's BTH.
struct PropertyRecord {
  static constexpr Field kId{"wPropId", 0, 2};
  static constexpr Field kType{"wPropType", 2, 2};
  static constexpr Field kValue{"dwValueHnid", 4, 4};
  static constexpr std::array kAll{kId, kType, kValue};
};

// The value of an Object property.
struct ObjectValue {
  static constexpr Field kNode{"nid", 0, 4};
  static constexpr Field kObjectSize{"ulSize", 4, 4};
  static constexpr std::array kAll{kNode, kObjectSize};
};

struct TableInfo {
  static constexpr Field kType{"bType", 0, 1};
  static constexpr Field kColumns{"cCols", 1, 1};
  static constexpr Field kEnds{"rgib", 2, 8};
  static constexpr Field kRowIndex{"hidRowIndex", 10, 4};
  static constexpr Field kRows{"hnidRows", 14, 4};
  static constexpr Field kIndex{"hidIndex", 18, 4};
  static constexpr std::array kAll{kType, kColumns, kEnds, kRowIndex, kRows, kIndex};
};

struct TableColumn {
  static constexpr Field kType{"wPropType", 0, 2};
  static constexpr Field kId{"wPropId", 2, 2};
  static constexpr Field kOffset{"ibData", 4, 2};
  static constexpr Field kWidth{"cbData", 6, 1};
  static constexpr Field kBit{"iBit", 7, 1};
  static constexpr std::array kAll{kType, kId, kOffset, kWidth, kBit};
};

// A record of a table's row index.
struct RowIndexRecord {
  static constexpr Field kRowId{"dwRowID", 0, 4};
  static constexpr Field kNumber{"dwRowIndex", 4, 4};
  static constexpr std::array kAll{kRowId, kNumber};
};

// The start of every row: the cells of the columns 67F2 and 67F3.
struct TableRow {
  static constexpr Field kId{"dwRowID", 0, 4};
  static constexpr Field kVersion{"dwRowVer", 4, 4};
  static constexpr std::array kAll{kId, kVersion};
};

// An entry of the name map's entry stream, and a record of its hash buckets. There dwPropertyID of
// a string is its check sum.
struct NameEntry {
  static constexpr Field kName{"dwPropertyID", 0, 4};
  static constexpr Field kGuid{"wGuid", 4, 2};
  static constexpr Field kIndex{"wPropIdx", 6, 2};
  static constexpr std::array kAll{kName, kGuid, kIndex};
};

// Names a folder of a store to clients.
struct EntryId {
  static constexpr Field kFlags{"rgbFlags", 0, 4};
  static constexpr Field kStore{"uid", 4, 16};
  static constexpr Field kNode{"nid", 20, 4};
  static constexpr std::array kAll{kFlags, kStore, kNode};
};

// Bytes of a structure.
template <typename Structure>
inline constexpr std::size_t kSizeOf = Structure::kAll.back().offset + Structure::kAll.back().size;

}  // namespace fields
}  // namespace parvane::pstfile
