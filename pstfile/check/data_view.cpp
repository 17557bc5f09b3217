#include "pstfile/check/data_view.h"

#include <algorithm>
#include <cstring>

#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

// The entries of an internal block of this type and level.
std::optional<std::span<const std::byte>> EntriesOf(std::span<const std::byte> data, unsigned type,
                                                    unsigned level) {
  if (data.size() < kInternalBlockHeaderSize) return std::nullopt;
  const InternalBlock block = InternalBlock::DecodeHeader(data);
  if (block.type != type || block.level != level) return std::nullopt;
  const std::size_t size = block.count * block.EntrySize();
  if (size > data.size() - kInternalBlockHeaderSize) return std::nullopt;
  return data.subspan(kInternalBlockHeaderSize, size);
}

bool LoadIds(Image& image, BlockId block, unsigned level, std::vector<BlockId>& ids) {
  ids.clear();
  const auto slice = image.ReadBlock(block);
  if (!slice || !block.IsInternal()) return false;
  const auto entries = EntriesOf(slice->bytes(), kDataTreeBlock, level);
  if (!entries) return false;
  for (std::size_t at = 0; at < entries->size(); at += kXBlockEntrySize) {
    ids.push_back(BlockId(LoadU64(*entries, at)));
  }
  return true;
}

}  // namespace

std::optional<DataView> DataView::Open(Image& image, BlockId root) {
  DataView view;
  view._image = &image;
  view._root = root;
  if (!root) return view;
  if (!root.IsInternal()) {
    const auto entry = image.FindBlock(root);
    if (!entry) return std::nullopt;
    view._size = entry->place.dataSize;
    view._blockCount = 1;
    view._leaves = {root};
    return view;
  }
  const auto slice = image.ReadBlock(root);
  if (!slice || slice->size() < kInternalBlockHeaderSize) return std::nullopt;
  view._size = InternalBlock::DecodeHeader(slice->bytes()).total;
  if (LoadIds(image, root, 1, view._leaves)) {
    view._blockCount = view._leaves.size();
    return view;
  }
  if (!LoadIds(image, root, 2, view._xblocks) || view._xblocks.empty()) return std::nullopt;
  // Every XBLOCK but the last is full, so the last one tells how many blocks there are.
  if (!LoadIds(image, view._xblocks.back(), 1, view._leaves)) return std::nullopt;
  view._loaded = view._xblocks.size() - 1;
  view._blockCount = view._loaded * kMaximumXBlockEntries + view._leaves.size();
  return view;
}

std::optional<BlockSlice> DataView::ReadBlock(std::size_t n) {
  if (n >= _blockCount) return std::nullopt;
  std::size_t index = n;
  if (!_xblocks.empty()) {
    const std::size_t xblock = n / kMaximumXBlockEntries;
    index = n % kMaximumXBlockEntries;
    if (xblock != _loaded) {
      _loaded = xblock;
      LoadIds(*_image, _xblocks[xblock], 1, _leaves);
    }
  }
  if (index >= _leaves.size() || _leaves[index].IsInternal()) return std::nullopt;
  return _image->ReadBlock(_leaves[index]);
}

std::size_t DataView::ReadAt(std::uint64_t offset, std::span<std::byte> out) {
  std::size_t done = 0;
  while (done < out.size() && offset + done < _size) {
    const std::uint64_t at = offset + done;
    const auto block = ReadBlock(static_cast<std::size_t>(at / kMaximumBlockData));
    const auto within = static_cast<std::size_t>(at % kMaximumBlockData);
    if (!block || block->size() <= within) break;
    const std::size_t size = std::min(out.size() - done, block->size() - within);
    std::memcpy(out.data() + done, block->bytes().data() + within, size);
    done += size;
  }
  return done;
}

bool SubnodeList::AppendLeaf(Image& image, BlockId block) {
  const auto slice = image.ReadBlock(block);
  if (!slice || !block.IsInternal()) return false;
  const auto entries = EntriesOf(slice->bytes(), kSubnodeTreeBlock, 0);
  if (!entries) return false;
  for (std::size_t at = 0; at < entries->size(); at += kSlBlockEntrySize) {
    const SubnodeEntry entry = SubnodeEntry::Decode(entries->subspan(at, kSlBlockEntrySize));
    // Those out of order, which the block's own check tells, would be missed by a search.
    if (_all.empty() || entry.nid > _all.back().nid) _all.push_back(entry);
  }
  return true;
}

std::optional<SubnodeList> SubnodeList::Open(Image& image, BlockId root) {
  SubnodeList list;
  if (!root || list.AppendLeaf(image, root)) return list;
  const auto slice = image.ReadBlock(root);
  if (!slice || !root.IsInternal()) return std::nullopt;
  const auto entries = EntriesOf(slice->bytes(), kSubnodeTreeBlock, 1);
  if (!entries) return std::nullopt;
  for (std::size_t at = 0; at < entries->size(); at += kSiBlockEntrySize) {
    const BlockId leaf(LoadField(*entries, fields::SubnodeIndexEntry::kBlock, at));
    if (!list.AppendLeaf(image, leaf)) return std::nullopt;
  }
  return list;
}

const SubnodeEntry* SubnodeList::Find(NodeId nid) const {
  const auto found =
      std::lower_bound(_all.begin(), _all.end(), nid,
                       [](const SubnodeEntry& entry, NodeId sought) { return entry.nid < sought; });
  return found != _all.end() && found->nid == nid ? &*found : nullptr;
}

}  // namespace parvane::pstfile::check
