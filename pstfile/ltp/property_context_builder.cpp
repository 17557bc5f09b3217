#include "pstfile/ltp/property_context_builder.h"

#include <algorithm>
#include <array>

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

Status CheckStorable(PropTag tag, Property::Kind kind, std::uint64_t size) {
  const PropType type = tag.Type();
  if (!IsStorable(type)) return Refused(tag, "a type that cannot be stored");
  if (IsScalar(type) != (kind == Property::Kind::kScalar) ||
      (type == PropType::kObject) != (kind == Property::Kind::kObject)) {
    return Refused(tag, "the value is not of that type");
  }
  if (type == PropType::kGuid && size != FixedSize(type)) {
    return Refused(tag, "a Guid has 16 bytes");
  }
  if (const std::size_t element = ElementSize(type); element != 0 && size % element != 0) {
    return Refused(tag, "not a whole number of elements");
  }
  return {};
}

}  // namespace

Status PropertyContextBuilder::Prepare(PropertyList& properties) {
  for (std::size_t i = 0; i < properties.size(); ++i) {
    const PropTag tag = properties.TagAt(i);
    const Property::Kind kind = properties.KindAt(i);
    if (Status status = CheckStorable(tag, kind, properties.SizeAt(i)); !status.ok()) return status;
    if (kind == Property::Kind::kBytes && properties.SizeAt(i) > kMaxHeapItem) {
      auto stored = StoreBytes(*_database, properties.BytesAt(i));
      if (!stored.ok()) return stored.status();
      properties.SetStored(tag, *stored);
    } else if (kind == Property::Kind::kStored) {
      const Property property = properties.at(i);
      if (property.stored.size <= kMaxHeapItem) {
        auto bytes = ReadStored(*_database, property.stored, kMaxHeapItem);
        if (!bytes.ok()) return bytes.status();
        _database->AbandonBlock(property.stored.root);
        properties.SetBytes(tag, *bytes);
      } else {
        auto kept = KeepInBlocks(*_database, property);
        if (!kept.ok()) return kept.status();
        properties.SetStored(tag, *kept);
      }
    }
  }
  return {};
}

// The value's field in its record, from what was added to the heap or to the subnodes.
Result<std::uint32_t> PropertyContextBuilder::Place(const PropertyList& properties,
                                                    std::size_t index) {
  switch (properties.KindAt(index)) {
    case Property::Kind::kScalar: {
      const std::uint64_t scalar = properties.ScalarAt(index);
      const std::size_t size = FixedSize(properties.TagAt(index).Type());
      if (size <= 4) return static_cast<std::uint32_t>(scalar);
      std::array<std::byte, 8> bytes;
      StoreU64(bytes, 0, scalar);
      return _heap.Add(std::span(bytes).first(size)).value;
    }
    case Property::Kind::kObject: {
      const ObjectValue object = properties.at(index).object;
      std::array<std::byte, 8> bytes;
      StoreU32(bytes, 0, object.node.value);
      StoreU32(bytes, 4, object.size);
      return _heap.Add(bytes).value;
    }
    case Property::Kind::kBytes: {
      const std::span<const std::byte> bytes = properties.BytesAt(index);
      if (bytes.size() > kMaxHeapItem) {
        return Refused(properties.TagAt(index), "the list was not prepared");
      }
      return bytes.empty() ? 0 : _heap.Add(bytes).value;
    }
    case Property::Kind::kStored: {
      auto node = _database->AllocateNodeId(NodeKind::kValue);
      if (!node.ok()) return node.status();
      const StoredValue stored = properties.at(index).stored;
      _subnodes.push_back({*node, stored.root, BlockId()});
      _storedBytes += stored.size;
      return node->value;
    }
  }
  return Refused(properties.TagAt(index), "unknown kind of value");
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
    auto value = Place(properties, i);
    if (!value.ok()) return value.status();
    _records.push_back({properties.TagAt(i), *value});
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

Result<BlockId> WriteSubnodes(NodeDatabase& database,
                              platform::RecycledVector<SubnodeEntry> entries) {
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
