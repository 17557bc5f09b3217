#include "pstfile/check/block_check.h"

#include <optional>
#include <string>

#include "pstfile/check/tree_walk.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

class BlockCheck : public TreeVisitor {
 public:
  BlockCheck(Image& image, Reporter& reporter) : _image(image), _reporter(reporter) {}

  void OnBlock(const BlockEntry& block) override {
    ++totals.blocks;
    totals.references += block.references;
    _where = Say("block ", block.bid, " at ", Hex{block.offset}, ": ");
    if (block.bid.value >= _image.header().nextBlockId) {
      Fault(codes::kBlockId,
            Say("its id is not below the next to be given, ", Hex{_image.header().nextBlockId}));
    }
    if (block.dataSize == 0 || block.dataSize > kMaximumBlockData) {
      Fault(codes::kBlockSize,
            Say(block.dataSize, " bytes of data, expected 1 to ", kMaximumBlockData));
      return;
    }
    const std::size_t size = BlockSizeOnDisk(block.dataSize);
    _reporter.BlockExamined(size);
    if (block.offset < kFirstAMapOffset || block.offset % kBlockAlignment != 0 ||
        block.offset > _image.size() || size > _image.size() - block.offset) {
      Fault(codes::kBlockPlace, Say("not the place of a block of ", size, " bytes in a file of ",
                                    _image.size(), " bytes"));
      return;
    }
    const auto bytes = _image.ReadAhead(block.offset, size);
    if (!bytes) {
      Fault(codes::kBlockPlace, "cannot be read");
      return;
    }
    CheckTrailer(block, *bytes);
    if (block.bid.IsInternal()) CheckInternal(bytes->first(block.dataSize));
  }

  BlockTotals totals;

 private:
  void Fault(codes::Code code, const std::string& what) { _reporter.Error(code, _where + what); }

  void CheckTrailer(const BlockEntry& block, std::span<const std::byte> bytes) {
    const auto trailer = bytes.last(kBlockTrailerSize);
    if (LoadU16(trailer, 0) != block.dataSize) {
      Fault(codes::kBlockTrailer,
            Say("trailer tells ", LoadU16(trailer, 0), " bytes of data, the BBT ", block.dataSize));
    }
    const std::uint64_t id = LoadU64(trailer, 8);
    if (BlockId(id) != block.bid) {
      Fault(codes::kBlockTrailer, Say("trailer names block ", Hex{id}));
    }
    if (LoadU16(trailer, 2) != Signature(block.offset, id)) {
      Fault(codes::kBlockSignature, Say("wSig ", Hex{LoadU16(trailer, 2)}, ", computed ",
                                        Hex{Signature(block.offset, id)}));
    }
    const std::uint32_t crc = Crc(bytes.first(block.dataSize));
    if (LoadU32(trailer, 4) != crc) {
      Fault(codes::kBlockCrc, Say("dwCRC ", Hex{LoadU32(trailer, 4)}, ", computed ", Hex{crc}));
    }
  }

  void CheckInternal(std::span<const std::byte> data) {
    if (data.size() < kInternalBlockHeaderSize) {
      Fault(codes::kTreeBlock, Say("an internal block of only ", data.size(), " bytes"));
      return;
    }
    const unsigned type = LoadU8(data, 0);
    const unsigned level = LoadU8(data, 1);
    if (type == 1 && (level == 1 || level == 2)) {
      CheckDataTree(data, level);
    } else if (type == 2 && level <= 1) {
      CheckSubnodes(data, level);
    } else {
      Fault(codes::kTreeBlock,
            Say("type ", Hex{type}, " level ", level, " is no kind of internal block"));
    }
  }

  // The number of entries, or none when it contradicts the block's size.
  std::optional<unsigned> Entries(std::span<const std::byte> data, codes::Code code,
                                  std::size_t maximum, std::size_t entrySize) {
    const unsigned count = LoadU16(data, 2);
    if (count == 0 || count > maximum ||
        data.size() != kInternalBlockHeaderSize + count * entrySize) {
      Fault(code, Say(count, " entries of ", entrySize, " bytes in ", data.size(),
                      " bytes, at most ", maximum));
      return std::nullopt;
    }
    return count;
  }

  void CheckDataTree(std::span<const std::byte> data, unsigned level) {
    const auto count = Entries(data, codes::kTreeBlock, kMaximumXBlockEntries, 8);
    if (!count) return;
    std::uint64_t total = 0;
    bool complete = true;
    for (unsigned i = 0; i < *count; ++i) {
      const BlockId child(LoadU64(data, kInternalBlockHeaderSize + 8 * i));
      if (child.IsInternal() != (level == 2)) {
        Fault(codes::kTreeBlock, Say("entry ", i, " names block ", child, ", which is ",
                                     level == 2 ? "no internal block" : "an internal block"));
        complete = false;
        continue;
      }
      const auto entry = _image.FindBlock(child);
      if (!entry) {  // told by the count of references
        complete = false;
      } else if (level == 1) {
        if (i + 1 < *count && entry->dataSize != kMaximumBlockData) {
          Fault(codes::kTreeBlock,
                Say("entry ", i, " of ", *count, ", block ", child, ", has ", entry->dataSize,
                    " bytes; only the last may have less than ", kMaximumBlockData));
        }
        total += entry->dataSize;
      } else {
        total += SizeOfXBlock(child, i);
      }
    }
    if (complete && total != LoadU32(data, 4)) {
      Fault(codes::kTreeTotal,
            Say("lcbTotal is ", LoadU32(data, 4), ", its children hold ", total, " bytes"));
    }
  }

  std::uint64_t SizeOfXBlock(BlockId child, unsigned index) {
    const auto block = _image.ReadBlock(child);
    if (!block || block->size() < kInternalBlockHeaderSize || LoadU8(block->bytes(), 0) != 1 ||
        LoadU8(block->bytes(), 1) != 1) {
      Fault(codes::kTreeBlock,
            Say("entry ", index, " names block ", child, ", which is no XBLOCK"));
      return 0;
    }
    return LoadU32(block->bytes(), 4);
  }

  void CheckSubnodes(std::span<const std::byte> data, unsigned level) {
    const std::size_t size = level == 0 ? 24 : 16;
    const auto count = Entries(data, codes::kSubnodeBlock,
                               level == 0 ? kMaximumSlBlockEntries : kMaximumSiBlockEntries, size);
    if (!count) return;
    if (LoadU32(data, 4) != 0) {
      _reporter.Warning(codes::kSubnodeBlock, _where + "the padding of its header is not zero");
    }
    std::uint32_t last = 0;
    for (unsigned i = 0; i < *count; ++i) {
      const std::size_t at = kInternalBlockHeaderSize + i * size;
      const NodeId nid(LoadU32(data, at));  // the high half can be garbage
      if (i > 0 && nid.value <= last) {
        Fault(codes::kSubnodeOrder, Say("subnode ", nid, " follows ", Hex{last}));
      }
      last = nid.value;
      const BlockId child(LoadU64(data, at + 8));
      if (level == 1) {
        CheckSlBlock(child, nid);
        continue;
      }
      const BlockId sub(LoadU64(data, at + 16));
      if (sub && !sub.IsInternal()) {
        Fault(codes::kSubnodeBlock,
              Say("subnode ", nid, ": its subnodes are in ", sub, ", which is no internal block"));
      }
      CheckCounter(nid);
    }
  }

  void CheckSlBlock(BlockId child, NodeId first) {
    const auto block = _image.ReadBlock(child);
    if (!block) return;
    const auto data = block->bytes();
    if (data.size() < kInternalBlockHeaderSize + 4 || LoadU8(data, 0) != 2 ||
        LoadU8(data, 1) != 0) {
      Fault(codes::kSubnodeBlock,
            Say("entry ", first, " names block ", child, ", which is no SLBLOCK"));
    } else if (LoadU32(data, kInternalBlockHeaderSize) != first.value) {
      Fault(codes::kSubnodeOrder,
            Say("entry ", first, " names block ", child, ", which begins with subnode ",
                Hex{LoadU32(data, kInternalBlockHeaderSize)}));
    }
  }

  // Subnodes that hold a mere value are numbered freely by some writers.
  void CheckCounter(NodeId nid) {
    if (nid.Kind() == NodeKind::kValue) return;
    const std::uint32_t counter = _image.header().nodeCounters[nid.value & 31];
    if (nid.Index() >= 0x400 && nid.Index() > counter) {
      _reporter.Habit(codes::kNodeCounter,
                      _where + Say("subnode ", nid, " has index ", Hex{nid.Index()},
                                   ", above the header's counter ", Hex{counter}));
    }
  }

  Image& _image;
  Reporter& _reporter;
  std::string _where;
};

}  // namespace

BlockTotals CheckBlocks(Image& image, Reporter& reporter) {
  BlockCheck check(image, reporter);
  WalkTree(image, TreeKind::kBlocks, check, &reporter);
  reporter.summary().blocks = check.totals.blocks;
  return check.totals;
}

}  // namespace parvane::pstfile::check
