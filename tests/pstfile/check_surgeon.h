// Damages a PST in memory in one place and makes every check sum right again, so that only the
// damage itself is there to be found. The file's data must not be encoded.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "pstfile/check/data_view.h"
#include "pstfile/check/image.h"
#include "pstfile/check/tree_walk.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ltp/property_tag.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/little_endian.h"
#include "tests/pstfile/ndb_memory_files.h"
#include "tests/support/findings.h"

namespace parvane::pstfile {

class Surgeon : check::TreeVisitor {
 public:
  static constexpr char16_t kPath[] = u"patient.pst";

  explicit Surgeon(const Bytes& file) {
    _files[kPath] = file;
    _image = check::Image::Open(_files, kPath).value();
    check::WalkTree(*_image, check::TreeKind::kBlocks, *this, nullptr);
    check::WalkTree(*_image, check::TreeKind::kNodes, *this, nullptr);
  }

  Bytes& file() { return _files[kPath]; }
  std::uint8_t& U8(std::size_t at) { return reinterpret_cast<std::uint8_t&>(file().at(at)); }
  std::uint16_t U16(std::size_t at) { return LoadU16(file(), at); }
  std::uint32_t U32(std::size_t at) { return LoadU32(file(), at); }
  std::uint64_t U64(std::size_t at) { return LoadU64(file(), at); }
  void U16(std::size_t at, std::uint16_t value) { StoreU16(file(), at, value); }
  void U32(std::size_t at, std::uint32_t value) { StoreU32(file(), at, value); }
  void U64(std::size_t at, std::uint64_t value) { StoreU64(file(), at, value); }
  void Swap(std::size_t a, std::size_t b, std::size_t size) {
    std::swap_ranges(file().begin() + static_cast<std::ptrdiff_t>(a),
                     file().begin() + static_cast<std::ptrdiff_t>(a + size),
                     file().begin() + static_cast<std::ptrdiff_t>(b));
  }

  // ---- Where things are (offsets in the file) ----

  const std::vector<std::size_t>& pages(check::TreeKind kind) const {
    return kind == check::TreeKind::kBlocks ? _blockPages : _nodePages;
  }
  // A page of the node tree that is a leaf; the root has several.
  std::size_t NodeLeaf() { return pages(check::TreeKind::kNodes).back(); }
  std::size_t BlockEntry(BlockId bid) { return Entry(check::TreeKind::kBlocks, bid.value, 24); }
  std::size_t NodeEntry(NodeId nid) { return Entry(check::TreeKind::kNodes, nid.value, 32); }
  BlockRecord Block(BlockId bid) {
    const auto found = _image->FindBlock(bid);
    EXPECT_TRUE(found) << ToString(bid);
    return found.value_or(BlockRecord());
  }
  std::size_t Data(BlockId bid) { return Block(bid).place.offset.value; }
  std::size_t Trailer(BlockId bid) {
    const BlockPlace place = Block(bid).place;
    return place.offset.value + BlockSizeOnDisk(place.dataSize) - kBlockTrailerSize;
  }

  struct Place {
    BlockId data;
    BlockId sub;
  };
  Place Node(NodeId nid) {
    const auto node = _image->FindNode(nid);
    EXPECT_TRUE(node) << ToString(nid);
    return node ? Place{node->data, node->sub} : Place{};
  }
  Place Sub(Place place, NodeId nid) {
    const auto list = check::SubnodeList::Open(*_image, place.sub);
    const SubnodeEntry* found = list ? list->Find(nid) : nullptr;
    EXPECT_NE(found, nullptr) << ToString(nid);
    return found != nullptr ? Place{found->data, found->sub} : Place{};
  }
  // An item of the heap's first page.
  std::pair<std::size_t, std::size_t> Item(Place place, std::uint32_t hid) {
    const std::size_t page = Data(place.data);
    const std::size_t map = page + U16(page) + 4 + 2 * (HeapId(hid).Item() - 1);
    return {page + U16(map), U16(map + 2) - U16(map)};
  }
  // The 8-byte record of a property; its value is at + 4. The context has one leaf.
  std::size_t Property(Place place, std::uint16_t id) {
    const std::size_t header = Item(place, U32(Data(place.data) + 4)).first;
    const auto [leaf, size] = Item(place, U32(header + 4));
    for (std::size_t at = leaf; at < leaf + size; at += 8) {
      if (U16(at) == id) return at;
    }
    ADD_FAILURE() << "no property " << ToHex(id);
    return leaf;
  }
  std::size_t PropertyBytes(Place place, std::uint16_t id) {
    return Item(place, U32(Property(place, id) + 4)).first;
  }
  std::size_t TableInfo(Place place) { return Item(place, U32(Data(place.data) + 4)).first; }
  // A row of the first block.
  std::size_t Row(Place place, std::size_t number) {
    const std::size_t info = TableInfo(place);
    const std::uint32_t matrix = U32(info + 14);
    if ((matrix & 31) == 0) return Item(place, matrix).first + number * U16(info + 8);
    BlockId block = Sub(place, NodeId(matrix)).data;
    if (block.IsInternal()) block = BlockId(U64(Data(block) + 8));
    return Data(block) + number * U16(info + 8);
  }
  std::size_t Column(Place place, std::uint16_t id) {
    const std::size_t info = TableInfo(place);
    for (std::size_t at = info + 22; at < info + 22 + 8 * std::size_t{U8(info + 1)}; at += 8) {
      if (U16(at + 2) == id) return at;
    }
    ADD_FAILURE() << "no column " << ToHex(id);
    return info + 22;
  }
  std::size_t Cell(Place place, std::size_t row, std::uint16_t id) {
    return Row(place, row) + U16(Column(place, id) + 4);
  }
  void ClearCellBit(Place place, std::size_t row, std::uint16_t id) {
    const unsigned bit = U8(Column(place, id) + 7);
    U8(Row(place, row) + U16(TableInfo(place) + 6) + bit / 8) &=
        static_cast<std::uint8_t>(~(0x80U >> (bit % 8)));
  }
  // The first leaf of the row index.
  std::size_t RowIndex(Place place) {
    const std::size_t header = Item(place, U32(TableInfo(place) + 10)).first;
    return Item(place, U32(header + 4)).first;
  }

  // ---- Afterwards ----

  // Check sums of header, pages and blocks, where they were when the file was still sound.
  void Seal() {
    for (const std::size_t page : _blockPages) SealPage(page);
    for (const std::size_t page : _nodePages) SealPage(page);
    SealPage(0x4200);
    SealPage(0x4400);
    SealPage(0x4600);
    for (const auto& block : _blocks) {
      const auto [offset, size] = block.place;
      U32(offset.value + BlockSizeOnDisk(size) - kBlockTrailerSize + 4,
          Crc(std::span(file()).subspan(offset.value, size)));
    }
    U32(4, Crc(std::span(file()).subspan(8, 471)));
    U32(524, Crc(std::span(file()).subspan(8, 516)));
  }

  platform::Status CheckBeforeAppend() { return pstfile::CheckBeforeAppend(_files, kPath); }
  Findings Check(const CheckOptions& options = {}) {
    Findings outcome;
    const auto result = CheckFile(_files, kPath, options, outcome);
    if (!result.ok()) outcome.text = "failed: " + result.status().message();
    return outcome;
  }

 private:
  void OnPage(check::TreeKind kind, std::uint64_t offset) override {
    (kind == check::TreeKind::kBlocks ? _blockPages : _nodePages).push_back(offset);
  }
  void OnBlock(const BlockRecord& block) override { _blocks.push_back(block); }

  std::size_t Entry(check::TreeKind kind, std::uint64_t key, std::size_t size) {
    for (const std::size_t page : pages(kind)) {
      for (std::size_t i = 0; U8(page + 491) == 0 && i < U8(page + 488); ++i) {
        if (U64(page + i * size) == key) return page + i * size;
      }
    }
    ADD_FAILURE() << "no entry " << ToHex(key);
    return pages(kind).back();
  }
  void SealPage(std::size_t page) {
    U32(page + 500, Crc(std::span(file()).subspan(page, kPageBodySize)));
  }

  MemoryFiles _files;
  std::unique_ptr<check::Image> _image;
  std::vector<std::size_t> _blockPages;
  std::vector<std::size_t> _nodePages;
  std::vector<BlockRecord> _blocks;
};

}  // namespace parvane::pstfile
