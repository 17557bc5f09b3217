#include "pstfile/ltp/stored_values.h"

#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/layout.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;

Result<StoredValue> StoreBytes(NodeDatabase& database, std::span<const std::byte> bytes) {
  if (!bytes.empty() && bytes.size() <= kMaximumBlockData) {
    auto block = database.WriteBlock(bytes);
    if (!block.ok()) return block.status();
    return StoredValue{*block, bytes.size()};
  }
  DataTreeWriter writer(database);
  if (Status status = writer.Append(bytes); !status.ok()) return status;
  auto root = writer.Finish();
  if (!root.ok()) return root.status();
  return StoredValue{*root, bytes.size()};
}

Result<StoredValue> KeepInBlocks(NodeDatabase& database, const Property& property) {
  if (property.kind != Property::Kind::kStored) return StoreBytes(database, property.bytes);
  if (!property.stored.root || database.IsLoose(property.stored.root)) return property.stored;
  auto share = database.CanShare(property.stored.root);
  if (!share.ok()) return share.status();
  if (*share) return property.stored;
  auto tree = DataTree::Open(database, property.stored.root);
  if (!tree.ok()) return tree.status();
  DataTreeWriter writer(database);
  for (std::size_t n = 0; n < tree->blockCount(); ++n) {
    auto block = tree->ReadBlock(n);
    if (!block.ok()) return block.status();
    if (Status status = writer.Append(block->bytes()); !status.ok()) return status;
  }
  auto root = writer.Finish();
  if (!root.ok()) return root.status();
  return StoredValue{*root, property.stored.size};
}

Result<std::vector<std::byte>> ReadStored(const NodeDatabase& database, const StoredValue& value,
                                          std::uint64_t limit) {
  auto tree = DataTree::Open(database, value.root);
  if (!tree.ok()) return tree.status();
  return tree->ReadAll(limit);
}

}  // namespace parvane::pstfile
