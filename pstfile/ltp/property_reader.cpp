#include "pstfile/ltp/property_reader.h"

#include <algorithm>
#include <cstring>

#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/value_reader_state.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::size_t kRecordSize = 8;  // id (2), type (2), dwValueHnid (4)
constexpr std::size_t kMaxProperties = 65536;

Status TooLarge(std::uint64_t size, std::uint64_t limit) {
  return {StatusCode::kTooBig,
          "value of " + std::to_string(size) + " bytes, limit " + std::to_string(limit)};
}

}  // namespace

// ---- Values ------------------------------------------------------------------------------------

// A value that is not in its record: on the heap where the low five bits of its id are zero, else
// in a subnode ([MS-PST] 2.3.3.2).
Result<std::unique_ptr<ValueReader::State>> OpenHeapValue(const Heap& heap, HeapId id) {
  auto state = std::make_unique<ValueReader::State>();
  if (id.IsHeapItem()) {
    auto item = heap.Item(id);
    if (!item.ok()) return item.status();
    state->item = std::move(*item);
    return state;
  }
  auto node = heap.Subnode(NodeId(id.value));
  if (!node.ok()) return node.status();
  auto tree = DataTree::Open(heap.database(), node->data);
  if (!tree.ok()) return tree.status();
  state->inTree = true;
  state->tree = std::move(*tree);
  return state;
}

Result<std::vector<std::byte>> ReadHeapValue(const Heap& heap, HeapId id, std::uint64_t limit) {
  if (id.IsHeapItem()) {
    auto item = heap.Item(id);
    if (!item.ok()) return item.status();
    if (item->bytes.size() > limit) return TooLarge(item->bytes.size(), limit);
    return std::vector<std::byte>(item->bytes.begin(), item->bytes.end());
  }
  auto state = OpenHeapValue(heap, id);
  if (!state.ok()) return state.status();
  return (*state)->tree.ReadAll(limit);
}

Result<std::uint64_t> SizeOfHeapValue(const Heap& heap, HeapId id) {
  auto state = OpenHeapValue(heap, id);
  if (!state.ok()) return state.status();
  return (*state)->inTree ? (*state)->tree.size() : std::uint64_t{(*state)->item.bytes.size()};
}

ValueReader::ValueReader() : _state(std::make_unique<State>()) {}
ValueReader::ValueReader(std::unique_ptr<State> state) : _state(std::move(state)) {}
ValueReader::ValueReader(ValueReader&&) noexcept = default;
ValueReader& ValueReader::operator=(ValueReader&&) noexcept = default;
ValueReader::~ValueReader() = default;

std::uint64_t ValueReader::size() const {
  return _state->inTree ? _state->tree.size() : _state->item.bytes.size();
}

Result<std::size_t> ValueReader::ReadAt(std::uint64_t offset, std::span<std::byte> out) {
  if (_state->inTree) return _state->tree.ReadAt(offset, out);
  const auto bytes = _state->item.bytes;
  if (offset >= bytes.size()) return std::size_t{0};
  const std::size_t count = std::min<std::size_t>(out.size(), bytes.size() - offset);
  std::memcpy(out.data(), bytes.data() + offset, count);
  return count;
}

StoredValue ValueReader::stored() const {
  if (!_state->inTree) return {};
  return {_state->tree.root(), _state->tree.size()};
}

// ---- Property contexts -------------------------------------------------------------------------

PropertyReader::PropertyReader() = default;
PropertyReader::PropertyReader(PropertyReader&&) noexcept = default;
PropertyReader& PropertyReader::operator=(PropertyReader&&) noexcept = default;
PropertyReader::~PropertyReader() = default;

Result<PropertyReader> PropertyReader::Open(NodeDatabase& database, ObjectLocation location) {
  const auto fail = [&](const Status& status) {
    return status.WithContext("properties of node " + ToString(location.node));
  };
  auto heap = Heap::Open(database, location.data, location.subnodes, HeapClient::kPropertyContext);
  if (!heap.ok()) return fail(heap.status());
  PropertyReader reader;
  reader._database = &database;
  reader._location = location;
  reader._heap = std::make_unique<Heap>(std::move(*heap));
  // All of them at once: there are some fifty, and each is looked for again and again.
  auto tree = BthReader::Open(*reader._heap, reader._heap->userRoot(), 2, 6);
  if (!tree.ok()) return fail(tree.status());
  std::vector<std::byte> records;
  if (Status status = tree->ReadAll(records, kMaxProperties); !status.ok()) return fail(status);
  reader._entries.reserve(records.size() / kRecordSize);
  for (std::size_t at = 0; at < records.size(); at += kRecordSize) {
    const PropTag tag(LoadField<std::uint16_t>(records, fields::PropertyRecord::kId, at),
                      LoadField<PropType>(records, fields::PropertyRecord::kType, at));
    reader._entries.push_back(
        {tag, LoadField<std::uint32_t>(records, fields::PropertyRecord::kValue, at)});
  }
  return reader;
}

const PropertyReader::Entry* PropertyReader::Find(PropTag tag) const {
  const auto found =
      std::lower_bound(_entries.begin(), _entries.end(), tag.Id(),
                       [](const Entry& e, std::uint16_t id) { return e.tag.Id() < id; });
  return found != _entries.end() && found->tag == tag ? &*found : nullptr;
}

std::optional<PropTag> PropertyReader::TagOf(std::uint16_t id) const {
  const auto found =
      std::lower_bound(_entries.begin(), _entries.end(), id,
                       [](const Entry& e, std::uint16_t i) { return e.tag.Id() < i; });
  if (found == _entries.end() || found->tag.Id() != id) return std::nullopt;
  return found->tag;
}

Status PropertyReader::Missing(PropTag tag) const {
  return {StatusCode::kNotFound,
          "node " + ToString(_location.node) + " has no property " + ToString(tag)};
}

Result<std::uint64_t> PropertyReader::Scalar(PropTag tag) {
  const Entry* entry = Find(tag);
  if (entry == nullptr) return Missing(tag);
  const std::size_t size = FixedSize(tag.Type());
  if (!IsScalar(tag.Type())) return Status(StatusCode::kInvalidArgument, "not a scalar type");
  // In the record itself; wider ones are on the heap.
  if (size <= 4) return LoadSized(std::as_bytes(std::span(&entry->value, 1)), 0, size);
  auto item = _heap->Item(HeapId(entry->value));
  if (!item.ok()) return item.status();
  if (item->bytes.size() != size) {
    return Status(StatusCode::kCorrupt, "property " + ToString(tag) + " of " +
                                            std::to_string(item->bytes.size()) + " bytes");
  }
  return LoadSized(item->bytes, 0, size);
}

Result<std::uint64_t> PropertyReader::SizeOf(PropTag tag) {
  const Entry* entry = Find(tag);
  if (entry == nullptr) return Missing(tag);
  if (IsScalar(tag.Type())) return std::uint64_t{FixedSize(tag.Type())};
  return SizeOfHeapValue(*_heap, HeapId(entry->value));
}

Result<std::vector<std::byte>> PropertyReader::Bytes(PropTag tag, std::uint64_t limit) {
  const Entry* entry = Find(tag);
  if (entry == nullptr) return Missing(tag);
  if (IsScalar(tag.Type())) {
    auto bits = Scalar(tag);
    if (!bits.ok()) return bits.status();
    std::vector<std::byte> bytes(FixedSize(tag.Type()));
    StoreSized(bytes, 0, bytes.size(), *bits);
    return bytes;
  }
  return ReadHeapValue(*_heap, HeapId(entry->value), limit);
}

Result<std::u16string> PropertyReader::Text(PropTag tag, std::uint64_t limit) {
  auto bytes = Bytes(tag, limit);
  if (!bytes.ok()) return bytes.status();
  return DecodeText(*bytes);
}

Result<ValueReader> PropertyReader::OpenValue(PropTag tag) {
  const Entry* entry = Find(tag);
  if (entry == nullptr) return Missing(tag);
  if (IsScalar(tag.Type())) return Status(StatusCode::kInvalidArgument, "a scalar is no stream");
  auto state = OpenHeapValue(*_heap, HeapId(entry->value));
  if (!state.ok()) return state.status();
  return ValueReader(std::move(*state));
}

Result<ObjectValue> PropertyReader::Object(PropTag tag) {
  const Entry* entry = Find(tag);
  if (entry == nullptr) return Missing(tag);
  if (tag.Type() != PropType::kObject) {
    return Status(StatusCode::kInvalidArgument, "not an object type");
  }
  auto item = _heap->Item(HeapId(entry->value));
  if (!item.ok()) return item.status();
  using Fields = fields::ObjectValue;
  if (item->bytes.size() != fields::kSizeOf<Fields>) {
    return Status(StatusCode::kCorrupt, "object value is not 8 bytes");
  }
  return ObjectValue{NodeId(LoadField<std::uint32_t>(item->bytes, Fields::kNode)),
                     LoadField<std::uint32_t>(item->bytes, Fields::kObjectSize)};
}

Result<ObjectLocation> PropertyReader::Subnode(NodeId node) const {
  auto entry = _heap->Subnode(node);
  if (!entry.ok()) return entry.status();
  return ObjectLocation{node, entry->data, entry->sub};
}

Status PropertyReader::ReadAll(PropertyList& out, std::vector<PropTag>* large,
                               std::uint64_t limit) {
  for (const Entry& entry : _entries) {
    const PropTag tag = entry.tag;
    if (IsScalar(tag.Type())) {
      auto bits = Scalar(tag);
      if (!bits.ok()) return bits.status();
      out.SetScalar(tag, *bits);
    } else if (tag.Type() == PropType::kObject) {
      auto object = Object(tag);
      if (!object.ok()) return object.status();
      out.SetObject(tag, *object);
    } else {
      auto size = SizeOf(tag);
      if (!size.ok()) return size.status();
      if (*size > limit) {
        if (large != nullptr) large->push_back(tag);
        continue;
      }
      auto bytes = Bytes(tag, limit);
      if (!bytes.ok()) return bytes.status();
      out.SetBytes(tag, *bytes);
    }
  }
  return {};
}

}  // namespace parvane::pstfile
