#include "pstfile/check/property_check.h"

#include <algorithm>
#include <utility>

#include "pstfile/check/heap_tree.h"
#include "pstfile/check/table_check.h"
#include "pstfile/ndb/fields.h"

namespace parvane::pstfile::check {
namespace {

using Record = fields::PropertyRecord;

constexpr std::size_t kValueSize = fields::kSizeOf<Record> - Record::kId.size;
constexpr std::uint16_t kFirstNamedId = 0x8000;

}  // namespace

std::optional<PropertyContext> PropertyContext::Open(Context& context, Location location,
                                                     std::string where) {
  auto heap = NodeHeap::Open(context, location, std::move(where), HeapClient::kPropertyContext);
  if (!heap) return std::nullopt;
  std::optional<PropertyContext> opened(PropertyContext(std::move(*heap)));
  PropertyContext& pc = *opened;
  auto tree =
      HeapTree::Open(pc._heap, pc._heap.root(), Record::kId.size, kValueSize, "list of properties");
  if (!tree) return std::nullopt;
  pc._entries.reserve(64);
  tree->Walk([&](std::uint64_t key, std::span<const std::byte> record) {
    pc._entries.push_back(
        {PropTag(static_cast<std::uint16_t>(key), LoadField<PropType>(record, Record::kType)),
         LoadField<std::uint32_t>(record, Record::kValue)});
  });
  // After the walk: judging reads values of the same heap, whose tree the walk is still in. Where
  // keys do not ascend, which has been reported by now, Find misses some.
  for (PropertyEntry& entry : pc._entries) pc.Judge(entry);
  return opened;
}

void PropertyContext::Judge(PropertyEntry& entry) {
  const PropType type = entry.tag.Type();
  const auto fault = [&](const std::string& what) {
    _heap.Fault(codes::kProperty, Say("property ", ToString(entry.tag), ": ", what));
  };
  if (!IsKnownType(type)) {
    fault("its type is unknown");
    return;
  }
  // Nobody can ask for it by name, but it does no harm. Without a map that could be read nothing is
  // said: the map has been reported.
  const auto& names = _heap.context().names;
  if (entry.tag.Id() >= kFirstNamedId && names &&
      entry.tag.Id() - kFirstNamedId >= static_cast<int>(*names)) {
    _heap.Habit(codes::kPropertyUnnamed,
                Say("property ", ToString(entry.tag), " has no entry in the name map"));
  }
  if (const auto size = SizeOfPlainValue(_heap, type, entry.raw)) {
    entry.sound = true;
    _valueBytes += *size;
    return;
  }
  std::string reason;
  auto value = Value::Of(_heap, type, entry.raw, reason);
  if (!value) {
    fault(reason);
    return;
  }
  // Sound means that there is a value to read, not that it is right: what follows finds fault with
  // values that others may read all the same.
  entry.sound = true;
  // PidTagAttachSize counts values so; an object counts with the size in its record instead.
  _valueBytes += type == PropType::kObject ? 0 : value->size();
  if (IsInPlace(type) && value->size() < 4 && entry.raw >> (8 * value->size()) != 0) {
    _heap.Habit(codes::kProperty, Say("property ", ToString(entry.tag),
                                      ": the unused bytes of its record are not zero"));
  }
  if (type == PropType::kObject) {
    // The id of its subnode, and above it the size with which it counts.
    const std::uint64_t object = value->Number();
    _valueBytes += object >> 32;
    const NodeId node(static_cast<std::uint32_t>(object));
    if (_heap.UseSubnode(node) == nullptr) fault(Say("its subnode ", node, " does not exist"));
    return;
  }
  if (const std::string what = value->FaultAs(type); !what.empty()) fault(what);
}

void PropertyContext::Finish() {
  // Outlook keeps a change history beside the properties of a few objects, under the id of its
  // template: a subnode that no property names.
  if (const SubnodeEntry* history = _heap.UseSubnode(kNidChangeHistoryTableTemplate)) {
    CheckTable(_heap.context(), {history->data, history->sub}, where() + " change history");
  }
  _heap.ReportUnused();
}

const PropertyEntry* PropertyContext::Find(std::uint16_t id) const {
  const auto below = [](const PropertyEntry& entry, std::uint16_t sought) {
    return entry.tag.Id() < sought;
  };
  // Columns ask for one id after the other: mostly it is not far from the last.
  constexpr std::ptrdiff_t kNear = 8;
  auto found = _entries.begin() + static_cast<std::ptrdiff_t>(_lastSought);
  if (_lastSought > 0 && !below(found[-1], id)) found = _entries.begin();
  for (std::ptrdiff_t i = 0; i < kNear && found != _entries.end() && below(*found, id); ++i)
    ++found;
  found = std::lower_bound(found, _entries.end(), id, below);
  _lastSought = static_cast<std::size_t>(found - _entries.begin());
  if (found == _entries.end() || found->tag.Id() != id || !found->sound) return nullptr;
  return &*found;
}

std::optional<Value> PropertyContext::ValueOf(const PropertyEntry& entry) {
  if (!entry.sound) return std::nullopt;
  std::string reason;
  return Value::Of(_heap, entry.tag.Type(), entry.raw, reason);
}

std::optional<Value> PropertyContext::ValueOf(PropTag tag) {
  const PropertyEntry* entry = Find(tag.Id());
  if (entry == nullptr || entry->tag != tag) return std::nullopt;
  return ValueOf(*entry);
}

std::optional<std::uint64_t> PropertyContext::Number(PropTag tag) {
  auto value = ValueOf(tag);
  if (!value) return std::nullopt;
  return value->Number();
}

std::optional<std::vector<std::byte>> PropertyContext::Bytes(PropTag tag, std::size_t limit) {
  auto value = ValueOf(tag);
  if (!value) return std::nullopt;
  return value->Bytes(limit);
}

std::optional<ObjectFacts> PropertyContext::Object(std::uint16_t id) {
  const auto object = Number(PropTag(id, PropType::kObject));
  if (!object) return std::nullopt;
  return ObjectFacts{NodeId(static_cast<std::uint32_t>(*object)),
                     static_cast<std::uint32_t>(*object >> 32)};
}

void CheckPropertyContext(Context& context, Location location, std::string where) {
  auto pc = PropertyContext::Open(context, location, std::move(where));
  if (pc) pc->Finish();
}

}  // namespace parvane::pstfile::check
