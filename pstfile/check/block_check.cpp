#include "pstfile/check/block_check.h"

#include <optional>
#include <string>

#include "pstfile/check/tree_walk.h"
#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/subnode_tree.h"

namespace parvane::pstfile::check {
namespace {

// Type 0 for what is too short for an internal block.
InternalBlock HeaderOf(std::span<const std::byte> data) {
  return data.size() < kInternalBlockHeaderSize ? InternalBlock()
                                                : InternalBlock::DecodeHeader(data);
}

class BlockCheck : public TreeVisitor {
 public:
  BlockCheck(Image& image, Reporter& reporter, Survey& survey)
      : _image(image), _reporter(reporter), _survey(survey) {}

  void OnPage(TreeKind, std::uint64_t offset) override { _survey.OnPage(offset); }

  void OnBlock(const BlockRecord& block) override {
    ++totals.blocks;
    totals.references += block.references;
    _block = block;
    if (block.bid.value >= _image.header().nextBlockId) {
      Fault(codes::kBlockId,
            Say("its id is not below the next to be given, ", Hex{_image.header().nextBlockId}));
    }
    if (block.place.dataSize == 0 || block.place.dataSize > kMaximumBlockData) {
      Fault(codes::kBlockSize,
            Say(block.place.dataSize, " bytes of data, expected 1 to ", kMaximumBlockData));
      return;
    }
    const std::size_t size = BlockSizeOnDisk(block.place.dataSize);
    _reporter.BlockExamined(size);
    if (block.place.offset.value < kFirstAMapOffset ||
        block.place.offset.value % kBlockAlignment != 0 ||
        block.place.offset.value > _image.size() ||
        size > _image.size() - block.place.offset.value) {
      Fault(codes::kBlockPlace, Say("not the place of a block of ", size, " bytes in a file of ",
                                    _image.size(), " bytes"));
      return;
    }
    const auto bytes = _image.ReadAhead(block.place.offset.value, size);
    if (!bytes) {
      Fault(codes::kBlockPlace, "cannot be read");
      return;
    }
    const auto data = bytes->first(block.place.dataSize);
    CheckTrailer(block, *bytes);
    _survey.OnBlock(block, data);
    if (block.bid.IsInternal()) CheckInternal(data);
  }

  BlockTotals totals;

 private:
  std::string Where() const {
    return Say("block ", _block.bid, " at ", Hex{_block.place.offset.value}, ": ");
  }
  void Fault(codes::Code code, const std::string& what) { _reporter.Error(code, Where() + what); }

  void CheckTrailer(const BlockRecord& block, std::span<const std::byte> bytes) {
    const BlockTrailer trailer = BlockTrailer::Decode(bytes);
    if (trailer.dataSize != block.place.dataSize) {
      Fault(codes::kBlockTrailer, Say("trailer tells ", trailer.dataSize,
                                      " bytes of data, the BBT ", block.place.dataSize));
    }
    if (BlockId(trailer.id) != block.bid) {
      Fault(codes::kBlockTrailer, Say("trailer names block ", Hex{trailer.id}));
    }
    const std::uint16_t signature = Signature(block.place.offset.value, trailer.id);
    if (trailer.signature != signature) {
      Fault(codes::kBlockSignature,
            Say("wSig ", Hex{trailer.signature}, ", computed ", Hex{signature}));
    }
    const std::uint32_t crc = Crc(bytes.first(block.place.dataSize));
    if (trailer.crc != crc) {
      Fault(codes::kBlockCrc, Say("dwCRC ", Hex{trailer.crc}, ", computed ", Hex{crc}));
    }
  }

  void CheckInternal(std::span<const std::byte> data) {
    if (data.size() < kInternalBlockHeaderSize) {
      Fault(codes::kTreeBlock, Say("an internal block of only ", data.size(), " bytes"));
      return;
    }
    const InternalBlock block = InternalBlock::DecodeHeader(data);
    if (block.type == kDataTreeBlock && (block.level == 1 || block.level == 2)) {
      CheckDataTree(block, data);
    } else if (block.type == kSubnodeTreeBlock && block.level <= 1) {
      CheckSubnodes(block, data);
    } else {
      Fault(codes::kTreeBlock,
            Say("type ", Hex{block.type}, " level ", block.level, " is no kind of internal block"));
    }
  }

  // False when the number of entries contradicts the block's size.
  bool JudgeCount(const InternalBlock& block, std::size_t size, codes::Code code,
                  std::size_t maximum) {
    if (block.count != 0 && block.count <= maximum &&
        size == kInternalBlockHeaderSize + block.count * block.EntrySize()) {
      return true;
    }
    Fault(code, Say(block.count, " entries of ", block.EntrySize(), " bytes in ", size,
                    " bytes, at most ", maximum));
    return false;
  }

  void CheckDataTree(const InternalBlock& block, std::span<const std::byte> data) {
    if (!JudgeCount(block, data.size(), codes::kTreeBlock, kMaximumXBlockEntries)) return;
    const unsigned level = block.level;
    std::uint64_t total = 0;
    bool complete = true;
    for (unsigned i = 0; i < block.count; ++i) {
      const BlockId child(LoadU64(data, kInternalBlockHeaderSize + kXBlockEntrySize * i));
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
        if (i + 1 < block.count && entry->place.dataSize != kMaximumBlockData) {
          Fault(codes::kTreeBlock,
                Say("entry ", i, " of ", block.count, ", block ", child, ", has ",
                    entry->place.dataSize, " bytes; only the last may have less than ",
                    kMaximumBlockData));
        }
        total += entry->place.dataSize;
      } else {
        total += SizeOfXBlock(child, i);
      }
    }
    if (complete && total != block.total) {
      Fault(codes::kTreeTotal,
            Say("lcbTotal is ", block.total, ", its children hold ", total, " bytes"));
    }
  }

  std::uint64_t SizeOfXBlock(BlockId child, unsigned index) {
    const auto bytes = _image.ReadBlock(child);
    const InternalBlock block = bytes ? HeaderOf(bytes->bytes()) : InternalBlock();
    if (block.type == kDataTreeBlock && block.level == 1) return block.total;
    Fault(codes::kTreeBlock, Say("entry ", index, " names block ", child, ", which is no XBLOCK"));
    return 0;
  }

  void CheckSubnodes(const InternalBlock& block, std::span<const std::byte> data) {
    const bool isLeaf = block.level == 0;
    if (!JudgeCount(block, data.size(), codes::kSubnodeBlock,
                    isLeaf ? kMaximumSlBlockEntries : kMaximumSiBlockEntries)) {
      return;
    }
    if (block.total != 0) {
      _reporter.Warning(codes::kSubnodeBlock, Where() + "the padding of its header is not zero");
    }
    std::uint32_t last = 0;
    for (unsigned i = 0; i < block.count; ++i) {
      const auto entry =
          data.subspan(kInternalBlockHeaderSize + i * block.EntrySize(), block.EntrySize());
      // The high half can be garbage.
      const NodeId nid(LoadField<std::uint32_t>(entry, fields::SubnodeIndexEntry::kId));
      if (i > 0 && nid.value <= last) {
        Fault(codes::kSubnodeOrder, Say("subnode ", nid, " follows ", Hex{last}));
      }
      last = nid.value;
      if (!isLeaf) {
        CheckSlBlock(BlockId(LoadField(entry, fields::SubnodeIndexEntry::kBlock)), nid);
        continue;
      }
      const BlockId sub = SubnodeEntry::Decode(entry).sub;
      if (sub && !sub.IsInternal()) {
        Fault(codes::kSubnodeBlock,
              Say("subnode ", nid, ": its subnodes are in ", sub, ", which is no internal block"));
      }
      CheckCounter(nid);
    }
  }

  void CheckSlBlock(BlockId child, NodeId first) {
    const auto slice = _image.ReadBlock(child);
    if (!slice) return;
    const auto data = slice->bytes();
    const InternalBlock block = HeaderOf(data);
    constexpr std::size_t kIdSize = sizeof(NodeId::value);
    if (data.size() < kInternalBlockHeaderSize + kIdSize || block.type != kSubnodeTreeBlock ||
        block.level != 0) {
      Fault(codes::kSubnodeBlock,
            Say("entry ", first, " names block ", child, ", which is no SLBLOCK"));
    } else if (const NodeId found(LoadU32(data, kInternalBlockHeaderSize)); found != first) {
      Fault(codes::kSubnodeOrder,
            Say("entry ", first, " names block ", child, ", which begins with subnode ", found));
    }
  }

  // Subnodes that hold a mere value are numbered freely by some writers.
  void CheckCounter(NodeId nid) {
    if (nid.Kind() == NodeKind::kValue) return;
    const std::uint32_t counter = _image.header().counters[nid.value & 31];
    if (nid.Index() >= 0x400 && nid.Index() > counter) {
      _reporter.Habit(codes::kNodeCounter,
                      Where() + Say("subnode ", nid, " has index ", Hex{nid.Index()},
                                    ", above the header's counter ", Hex{counter}));
    }
  }

  Image& _image;
  Reporter& _reporter;
  Survey& _survey;
  BlockRecord _block;  // at hand
};

}  // namespace

BlockTotals CheckBlocks(Image& image, Reporter& reporter, Survey& survey) {
  BlockCheck check(image, reporter, survey);
  WalkTree(image, TreeKind::kBlocks, check, &reporter);
  reporter.summary().blocks = check.totals.blocks;
  return check.totals;
}

}  // namespace parvane::pstfile::check
