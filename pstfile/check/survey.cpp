#include "pstfile/check/survey.h"

#include <algorithm>

#include "platform/system.h"
#include "pstfile/ndb/block_format.h"

namespace parvane::pstfile::check {
namespace {

// Spreads the bits of a number over all others, so that sums of what comes out say something of
// each (the finish of SplitMix64).
std::uint64_t Mix(std::uint64_t value) {
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31);
}

}  // namespace

void AppendReferences(std::span<const std::byte> data, std::vector<BlockId>& to) {
  if (data.size() < kInternalBlockHeaderSize) return;
  InternalBlock block = InternalBlock::DecodeHeader(data);
  if (block.type != kDataTreeBlock && block.type != kSubnodeTreeBlock) return;
  const std::size_t size = block.EntrySize();
  const std::size_t count =
      std::min<std::size_t>(block.count, (data.size() - kInternalBlockHeaderSize) / size);
  block.entries = data.subspan(kInternalBlockHeaderSize, count * size);
  block.AppendReferences(to);
}

ReferenceSum::ReferenceSum() { platform::FillRandom(std::as_writable_bytes(std::span(_keys))); }

void ReferenceSum::Add(BlockId bid, std::uint64_t times) {
  for (std::size_t i = 0; i < _sums.size(); ++i) _sums[i] += times * Mix(bid.value ^ _keys[i]);
}

Survey::Survey(const Image& image) : _fileSize(image.size()) {
  _space.Begin(0, std::min(SpaceMap::IntervalsOf(image), SpaceMap::kMostIntervals));
}

void Survey::OnBlock(const BlockRecord& block, std::span<const std::byte> data) {
  Take(block.place.offset.value, BlockSizeOnDisk(block.place.dataSize));
  _references.AddBlock(block.bid, block.references);
  if (!block.bid.IsInternal()) return;
  _referred.clear();
  AppendReferences(data, _referred);
  for (const BlockId bid : _referred) _references.AddReference(bid);
}

void Survey::OnNode(const NodeRecord& node) {
  _references.AddReference(node.data);
  _references.AddReference(node.sub);
}

void Survey::Discard() {
  _complete = false;
  DropSpace();
}

void Survey::DropSpace() {
  _spaceIsRight = false;
  _space = {};
}

}  // namespace parvane::pstfile::check
