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
constexpr std::size_t kDataSize = kPropertyRecordSize - kKeySize;
constexpr std::size_t kIndexRecordSize = kKeySize + 4;
// One index item suffices for all 65,536 property ids.
static_assert(65536 / kPropertyRecordsPerLeaf + 1 <= kMaxHeapItem / kIndexRecordSize);

void Abandon(NodeDatabase& database, const SubnodeEntry& entry) {
  database.AbandonBlock(entry.data);
  database.AbandonBlock(entry.sub);
}

// The tree of these entries, in any order; loose. Takes over their loose blocks.
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
    if (!status.ok()) Abandon(database, entry);
  }
  if (!status.ok()) return status;
  return builder.Finish();
}

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
  // Values are replaced, which moves no item.
  for (const PropertyList::Item& item : properties.items()) {
    const PropTag tag = item.tag;
    if (Status status = CheckStorable(tag, item.kind, item.size); !status.ok()) return status;
    if (item.kind == Property::Kind::kBytes && item.size > kMaxHeapItem) {
      auto stored = StoreBytes(*_database, properties.BytesOf(item));
      if (!stored.ok()) return stored.status();
      properties.SetStored(tag, *stored);
    } else if (item.kind == Property::Kind::kStored) {
      const Property property = properties.View(item);
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
                                                    const PropertyList::Item& item) {
  switch (item.kind) {
    case Property::Kind::kScalar: {
      const std::size_t size = FixedSize(item.tag.Type());
      if (size <= 4) return static_cast<std::uint32_t>(item.scalar);
      std::array<std::byte, 8> bytes;
      StoreU64(bytes, 0, item.scalar);
      return _heap.Add(std::span(bytes).first(size)).value;
    }
    case Property::Kind::kObject: {
      const ObjectValue object = properties.View(item).object;
      using Fields = fields::ObjectValue;
      std::array<std::byte, fields::kSizeOf<Fields>> bytes;
      StoreField(bytes, Fields::kNode, object.node.value);
      StoreField(bytes, Fields::kObjectSize, object.size);
      return _heap.Add(bytes).value;
    }
    case Property::Kind::kBytes:
      if (item.size > kMaxHeapItem) return Refused(item.tag, "the list was not prepared");
      return item.size == 0 ? 0 : _heap.Add(properties.BytesOf(item)).value;
    case Property::Kind::kStored: {
      auto node = _database->AllocateNodeId(NodeKind::kValue);
      if (!node.ok()) return node.status();
      const StoredValue stored = properties.View(item).stored;
      _subnodes.push_back({*node, stored.root, BlockId()});
      _storedBytes += stored.size;
      return node->value;
    }
  }
  return Refused(item.tag, "unknown kind of value");
}

Status PropertyContextBuilder::Build(const PropertyList& properties) {
  _count = properties.size();
  const std::size_t leaves = (_count + kPropertyRecordsPerLeaf - 1) / kPropertyRecordsPerLeaf;
  const HeapId headerId = _heap.Add(kBthHeaderSize);
  for (std::size_t i = 0; i < leaves; ++i) {
    const std::size_t records =
        std::min(kPropertyRecordsPerLeaf, _count - i * kPropertyRecordsPerLeaf);
    _leaves.push_back(_heap.Add(records * kPropertyRecordSize));
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
  // Values go to the heap as they come, records to their places.
  properties.RankItems(_ranks);
  const std::span<const PropertyList::Item> items = properties.items();
  for (std::size_t i = 0; i < items.size(); ++i) {
    auto value = Place(properties, items[i]);
    if (!value.ok()) return value.status();
    const std::span<std::byte> record = RecordAt(_ranks[i]);
    StoreField(record, fields::PropertyRecord::kId, items[i].tag.Id());
    StoreField(record, fields::PropertyRecord::kType,
               static_cast<std::uint16_t>(items[i].tag.Type()));
    StoreField(record, fields::PropertyRecord::kValue, *value);
  }
  for (std::size_t i = 0; i < leaves && leaves > 1; ++i) {
    const auto id = LoadField(RecordAt(i * kPropertyRecordsPerLeaf), fields::PropertyRecord::kId);
    StoreU16(_heap.Item(indexId), i * kIndexRecordSize, static_cast<std::uint16_t>(id));
    StoreU32(_heap.Item(indexId), i * kIndexRecordSize + 2, _leaves[i].value);
  }
  return {};
}

// Numbers of this size lie in the record itself, so nothing moves.
void PropertyContextBuilder::SetInt32(PropTag tag, std::int32_t value) {
  const auto idAt = [this](std::size_t rank) {
    return LoadField(RecordAt(rank), fields::PropertyRecord::kId);
  };
  std::size_t low = 0;
  for (std::size_t high = _count; low < high;) {
    const std::size_t middle = low + (high - low) / 2;
    if (idAt(middle) < tag.Id()) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  if (low == _count || idAt(low) != tag.Id()) return;
  StoreField(RecordAt(low), fields::PropertyRecord::kValue, static_cast<std::uint32_t>(value));
}

Result<WrittenContext> PropertyContextBuilder::Write(
    platform::RecycledVector<SubnodeEntry> others) {
  others.insert(others.end(), _subnodes.begin(), _subnodes.end());
  auto data = _heap.Write(*_database);
  if (!data.ok()) {
    for (const SubnodeEntry& entry : others) Abandon(*_database, entry);
    return data.status();
  }
  auto subnodes = WriteSubnodes(*_database, std::move(others));
  if (!subnodes.ok()) {
    _database->AbandonBlock(*data);
    return subnodes.status();
  }
  return WrittenContext{*data, *subnodes};
}

void AbandonValues(NodeDatabase& database, const PropertyList& properties) {
  for (const PropertyList::Item& item : properties.items()) {
    if (item.kind == Property::Kind::kStored) {
      database.AbandonBlock(properties.View(item).stored.root);
    }
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
  return builder.Write();
}

}  // namespace parvane::pstfile
