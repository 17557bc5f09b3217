#include "pstfile/ltp/property_context_builder.h"

#include <algorithm>

#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/stored_values.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::size_t kKeySize = 2;
constexpr std::size_t kDataSize = 6;
constexpr std::size_t kRecordSize = kKeySize + kDataSize;
constexpr std::size_t kRecordsPerLeaf = kMaxHeapItem / kRecordSize;
constexpr std::size_t kIndexRecordSize = kKeySize + 4;
// One index item suffices for all 65,536 property ids.
static_assert(65536 / kRecordsPerLeaf + 1 <= kMaxHeapItem / kIndexRecordSize);

Status Refused(PropTag tag, const char* why) {
  return {StatusCode::kInvalidArgument, "property " + ToString(tag) + ": " + why};
}

Status CheckStorable(const Property& property) {
  const PropType type = property.tag.Type();
  if (!IsStorable(type)) return Refused(property.tag, "a type that cannot be stored");
  if (IsScalar(type) != (property.kind == Property::Kind::kScalar) ||
      (type == PropType::kObject) != (property.kind == Property::Kind::kObject)) {
    return Refused(property.tag, "the value is not of that type");
  }
  if (type == PropType::kGuid && property.Size() != FixedSize(type)) {
    return Refused(property.tag, "a Guid has 16 bytes");
  }
  if (const std::size_t element = ElementSize(type);
      element != 0 && property.Size() % element != 0) {
    return Refused(property.tag, "not a whole number of elements");
  }
  return {};
}

}  // namespace

Status PropertyContextBuilder::Prepare(PropertyList& properties) {
  for (std::size_t i = 0; i < properties.size(); ++i) {
    const Property property = properties.at(i);
    if (Status status = CheckStorable(property); !status.ok()) return status;
    if (property.kind == Property::Kind::kBytes && property.bytes.size() > kMaxHeapItem) {
      auto stored = StoreBytes(*_database, property.bytes);
      if (!stored.ok()) return stored.status();
      properties.SetStored(property.tag, *stored);
    } else if (property.kind == Property::Kind::kStored && property.stored.size <= kMaxHeapItem) {
      auto bytes = ReadStored(*_database, property.stored, kMaxHeapItem);
      if (!bytes.ok()) return bytes.status();
      _database->AbandonBlock(property.stored.root);
      properties.SetBytes(property.tag, *bytes);
    } else if (property.kind == Property::Kind::kStored) {
      auto kept = KeepInBlocks(*_database, property);
      if (!kept.ok()) return kept.status();
      properties.SetStored(property.tag, *kept);
    }
  }
  return {};
}

Result<std::uint32_t> PropertyContextBuilder::Place(const Property& property) {
  switch (property.kind) {
    case Property::Kind::kScalar: {
      const std::size_t size = FixedSize(property.tag.Type());
      if (size <= 4) return static_cast<std::uint32_t>(property.scalar);
      const HeapId id = _heap.Add(size);
      StoreSized(_heap.Item(id), 0, size, property.scalar);
      return id.value;
    }
    case Property::Kind::kObject: {
      const HeapId id = _heap.Add(8);
      StoreU32(_heap.Item(id), 0, property.object.node.value);
      StoreU32(_heap.Item(id), 4, property.object.size);
      return id.value;
    }
    case Property::Kind::kBytes:
      if (property.bytes.size() > kMaxHeapItem) {
        return Refused(property.tag, "the list was not prepared");
      }
      return property.bytes.empty() ? 0 : _heap.Add(property.bytes).value;
    case Property::Kind::kStored: {
      auto node = _database->AllocateNodeId(NodeKind::kValue);
      if (!node.ok()) return node.status();
      _subnodes.push_back({*node, property.stored.root, BlockId()});
      _storedBytes += property.stored.size;
      return node->value;
    }
  }
  return Refused(property.tag, "unknown kind of value");
}

Status PropertyContextBuilder::Build(const PropertyList& properties) {
  const std::size_t leaves = (properties.size() + kRecordsPerLeaf - 1) / kRecordsPerLeaf;
  const HeapId headerId = _heap.Add(kBthHeaderSize);
  for (std::size_t i = 0; i < leaves; ++i) {
    const std::size_t records = std::min(kRecordsPerLeaf, properties.size() - i * kRecordsPerLeaf);
    _leaves.push_back(_heap.Add(records * kRecordSize));
  }
  BthHeader header{kKeySize, kDataSize, 0, leaves == 0 ? HeapId() : _leaves[0]};
  HeapId indexId;
  if (leaves > 1) {
    indexId = _heap.Add(leaves * kIndexRecordSize);
    header.levels = 1;
    header.root = indexId;
  }
  header.Encode(_heap.Item(headerId));
  _heap.SetUserRoot(headerId);
  _records.reserve(properties.size());
  for (std::size_t i = 0; i < properties.size(); ++i) {
    const Property property = properties.at(i);
    auto value = Place(property);
    if (!value.ok()) return value.status();
    _records.push_back({property.tag, *value});
    StoreRecord(i);
  }
  for (std::size_t i = 0; i < leaves && leaves > 1; ++i) {
    StoreU16(_heap.Item(indexId), i * kIndexRecordSize, _records[i * kRecordsPerLeaf].tag.Id());
    StoreU32(_heap.Item(indexId), i * kIndexRecordSize + 2, _leaves[i].value);
  }
  return {};
}

void PropertyContextBuilder::StoreRecord(std::size_t index) {
  const auto leaf = _heap.Item(_leaves[index / kRecordsPerLeaf]);
  const std::size_t at = index % kRecordsPerLeaf * kRecordSize;
  const PropTag tag = _records[index].tag;
  StoreField(leaf, fields::PropertyRecord::kId, tag.Id(), at);
  StoreField(leaf, fields::PropertyRecord::kType, static_cast<std::uint16_t>(tag.Type()), at);
  StoreField(leaf, fields::PropertyRecord::kValue, _records[index].value, at);
}

void PropertyContextBuilder::SetInt32(PropTag tag, std::int32_t value) {
  const auto found = std::ranges::find(_records, tag, &Record::tag);
  if (found == _records.end()) return;
  found->value = static_cast<std::uint32_t>(value);
  StoreRecord(static_cast<std::size_t>(found - _records.begin()));
}

Result<BlockId> WriteSubnodes(NodeDatabase& database, std::vector<SubnodeEntry> entries) {
  if (entries.empty()) return BlockId();
  if (!std::ranges::is_sorted(entries, {}, &SubnodeEntry::nid)) {
    std::ranges::sort(entries, {}, &SubnodeEntry::nid);
  }
  SubnodeTreeBuilder builder(database);
  Status status;
  for (const SubnodeEntry& entry : entries) {
    if (status.ok()) status = builder.Add(entry);
    if (!status.ok()) {
      database.AbandonBlock(entry.data);
      database.AbandonBlock(entry.sub);
    }
  }
  if (!status.ok()) return status;
  return builder.Finish();
}

void AbandonValues(NodeDatabase& database, const PropertyList& properties) {
  for (std::size_t i = 0; i < properties.size(); ++i) {
    const Property property = properties.at(i);
    if (property.kind == Property::Kind::kStored) database.AbandonBlock(property.stored.root);
  }
}

Result<WrittenContext> WritePropertyContext(NodeDatabase& database, PropertyList& properties) {
  PropertyContextBuilder builder(database);
  const auto fail = [&](Status status) {
    AbandonValues(database, properties);
    return status;
  };
  if (Status status = builder.Prepare(properties); !status.ok()) return fail(status);
  if (Status status = builder.Build(properties); !status.ok()) return fail(status);
  auto data = builder.WriteHeap();
  if (!data.ok()) return fail(data.status());
  auto subnodes = WriteSubnodes(database, builder.subnodes());
  if (!subnodes.ok()) {
    database.AbandonBlock(*data);
    return subnodes.status();
  }
  return WrittenContext{*data, *subnodes};
}

}  // namespace parvane::pstfile
