#include "pstfile/ndb/tree_entries.h"

#include "pstfile/ndb/fields.h"

namespace parvane::pstfile {

BlockRecord BlockRecord::Decode(std::span<const std::byte> entry) {
  using fields::BlockEntry;
  return {BlockId(LoadField(entry, BlockEntry::kId)),
          {FileOffset(LoadField(entry, BlockEntry::kOffset)),
           LoadField<std::uint16_t>(entry, BlockEntry::kDataSize)},
          LoadField<std::uint16_t>(entry, BlockEntry::kReferences)};
}

void BlockRecord::Encode(std::span<std::byte, kBlockEntrySize> entry) const {
  using fields::BlockEntry;
  StoreField(entry, BlockEntry::kId, bid.value);
  StoreField(entry, BlockEntry::kOffset, place.offset.value);
  StoreField(entry, BlockEntry::kDataSize, place.dataSize);
  StoreField(entry, BlockEntry::kReferences, references);
  StoreField(entry, BlockEntry::kPadding, 0);
}

NodeRecord DecodeNode(std::span<const std::byte> entry) {
  using fields::NodeEntry;
  return {NodeId(LoadField<std::uint32_t>(entry, NodeEntry::kId)),
          BlockId(LoadField(entry, NodeEntry::kData)), BlockId(LoadField(entry, NodeEntry::kSub)),
          NodeId(LoadField<std::uint32_t>(entry, NodeEntry::kParent))};
}

void EncodeNode(const NodeRecord& record, std::span<std::byte, kNodeEntrySize> entry) {
  using fields::NodeEntry;
  StoreField(entry, NodeEntry::kId, record.nid.value);
  StoreField(entry, NodeEntry::kData, record.data.value);
  StoreField(entry, NodeEntry::kSub, record.sub.value);
  StoreField(entry, NodeEntry::kParent, record.parent.value);
  StoreField(entry, NodeEntry::kPadding, 0);
}

}  // namespace parvane::pstfile
