#include "pstfile/store/name_map.h"

#include <algorithm>

#include "platform/text.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ltp/property_reader.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr PropTag kBucketCount{0x00010003};
constexpr PropTag kGuidStream{0x00020102};
constexpr PropTag kEntryStream{0x00030102};
constexpr PropTag kStringStream{0x00040102};
constexpr std::uint16_t kFirstBucket = 0x1000;
constexpr std::uint32_t kBuckets = 251;
constexpr std::uint32_t kMaxBuckets = 0x7000;
constexpr std::size_t kEntrySize = fields::kSizeOf<fields::NameEntry>;
constexpr std::uint16_t kFirstId = 0x8000;
constexpr std::size_t kMaxEntries = 0x7FFF;  // up to id 0xFFFE
constexpr std::uint16_t kFirstStreamGuid = 3;
constexpr std::uint64_t kStreamLimit = 64u << 20;

std::u16string LowerAscii(std::u16string text) {
  for (char16_t& unit : text) {
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + 32);
  }
  return text;
}

// What tells names apart: the set's number, the kind, the number or the folded string.
std::u16string KeyOf(std::uint16_t guid, const PropertyName& name) {
  std::u16string key{static_cast<char16_t>(guid)};
  if (name.kind == PropertyName::Kind::kNumber) {
    key += {u'n', static_cast<char16_t>(name.number), static_cast<char16_t>(name.number >> 16)};
  } else {
    key += u's';
    key += platform::FoldCase(name.name);
  }
  return key;
}

void AppendEntry(std::vector<std::byte>& out, std::uint32_t name, std::uint16_t guid,
                 std::size_t index) {
  const std::size_t at = out.size();
  out.resize(at + kEntrySize);
  StoreField(out, fields::NameEntry::kName, name, at);
  StoreField(out, fields::NameEntry::kGuid, guid, at);
  StoreField(out, fields::NameEntry::kIndex, index, at);
}

// The string stream: each string behind its length, which begins at a multiple of its size.
constexpr std::size_t kLengthSize = 4;

void PadStrings(std::vector<std::byte>& strings) {
  while (strings.size() % kLengthSize != 0) strings.push_back(std::byte{0});
}

// Where it begins.
std::uint32_t AppendString(std::vector<std::byte>& strings, std::span<const std::byte> text) {
  PadStrings(strings);
  const std::size_t at = strings.size();
  strings.resize(at + kLengthSize);
  StoreU32(strings, at, static_cast<std::uint32_t>(text.size()));
  strings.insert(strings.end(), text.begin(), text.end());
  PadStrings(strings);
  return static_cast<std::uint32_t>(at);
}

PropTag BucketTag(std::uint32_t bucket) {
  return {static_cast<std::uint16_t>(kFirstBucket + bucket), PropType::kBinary};
}

}  // namespace

NameMap NameMap::Initial() {
  NameMap map;
  map._buckets = kBuckets;
  map._properties.SetInt32(kBucketCount, kBuckets);
  for (const PropertyName& name :
       {PropertyName::Number(kPsetCommon, 0x8580), PropertyName::Number(kPsetCommon, 0x8581),
        PropertyName::String(kPsPublicStrings, u"Keywords"),
        PropertyName::String(kPsInternetHeaders, u"content-class")}) {
    if (!map.Add(name).ok()) break;
  }
  return map;
}

Result<NameMap> NameMap::Load(NodeDatabase& database) {
  NameMap map;
  auto node = database.FindNode(kNidNameToIdMap);
  if (!node.ok()) return node.status();
  if (!node->has_value()) {
    return Status(StatusCode::kCorrupt, "the store has no name-to-id map");
  }
  auto reader = PropertyReader::Open(database, {kNidNameToIdMap, (*node)->data, (*node)->sub});
  if (!reader.ok()) return reader.status();
  if (Status status = reader->ReadAll(map._properties, nullptr, kStreamLimit); !status.ok()) {
    return status;
  }
  map._buckets = static_cast<std::uint32_t>(map._properties.Scalar(kBucketCount).value_or(0));
  if (map._buckets == 0 || map._buckets > kMaxBuckets) {
    return Status(StatusCode::kCorrupt,
                  "name-to-id map: bucket count " + std::to_string(map._buckets));
  }
  const auto stream = [&](PropTag tag) {
    const auto property = map._properties.Find(tag);
    return property ? std::vector<std::byte>(property->bytes.begin(), property->bytes.end())
                    : std::vector<std::byte>();
  };
  map._guids = stream(kGuidStream);
  map._entries = stream(kEntryStream);
  map._strings = stream(kStringStream);
  map.IndexEntries();
  return map;
}

void NameMap::IndexEntries() {
  for (std::size_t i = 0; i < std::min(_entries.size() / kEntrySize, kMaxEntries); ++i) {
    const auto id = static_cast<std::uint16_t>(kFirstId + i);
    auto name = NameOf(id);
    if (!name.ok()) continue;
    const std::uint16_t guid =
        LoadField<std::uint16_t>(_entries, fields::NameEntry::kGuid, i * kEntrySize) >> 1;
    // The first of several equal names is the one in use.
    _ids.emplace(KeyOf(guid, *name), id);
  }
}

// [MS-PST] 2.4.7.1: 0 is none, 1 and 2 are sets that every store knows, those of the stream follow.
std::optional<std::uint16_t> NameMap::GuidNumber(const Guid& set) const {
  if (set == Guid{}) return std::uint16_t{0};
  if (set == kPsMapi) return std::uint16_t{1};
  if (set == kPsPublicStrings) return std::uint16_t{2};
  for (std::size_t at = 0; at + set.size() <= _guids.size(); at += set.size()) {
    if (std::equal(set.begin(), set.end(), _guids.begin() + static_cast<std::ptrdiff_t>(at))) {
      return static_cast<std::uint16_t>(kFirstStreamGuid + at / set.size());
    }
  }
  return std::nullopt;
}

std::optional<Guid> NameMap::GuidOf(std::uint16_t number) const {
  if (number == 0) return Guid{};
  if (number == 1) return kPsMapi;
  if (number == 2) return kPsPublicStrings;
  Guid guid{};
  const std::size_t at = std::size_t{number} * guid.size() - kFirstStreamGuid * guid.size();
  if (at + guid.size() > _guids.size()) return std::nullopt;
  std::copy_n(_guids.begin() + static_cast<std::ptrdiff_t>(at), guid.size(), guid.begin());
  return guid;
}

std::optional<std::u16string> NameMap::StringAt(std::uint32_t offset) const {
  if (_strings.size() < kLengthSize || offset > _strings.size() - kLengthSize) return std::nullopt;
  const std::size_t length = LoadU32(_strings, offset);
  const auto behind = std::span(_strings).subspan(offset + kLengthSize);
  if (length > behind.size()) return std::nullopt;
  return DecodeText(behind.first(length));
}

Result<PropertyName> NameMap::NameOf(std::uint16_t id) const {
  const std::size_t at = std::size_t{id} * kEntrySize - std::size_t{kFirstId} * kEntrySize;
  if (id < kFirstId || at + kEntrySize > _entries.size()) {
    return Status(StatusCode::kNotFound, "property id " + ToHex(id) + " has no name");
  }
  const std::uint32_t value = LoadField<std::uint32_t>(_entries, fields::NameEntry::kName, at);
  const std::uint16_t wGuid = LoadField<std::uint16_t>(_entries, fields::NameEntry::kGuid, at);
  const auto set = GuidOf(wGuid >> 1);
  if (!set) return Status(StatusCode::kCorrupt, "name-to-id map: no such GUID");
  if ((wGuid & 1) == 0) return PropertyName::Number(*set, value);
  auto text = StringAt(value);
  if (!text) return Status(StatusCode::kCorrupt, "name-to-id map: no such string");
  return PropertyName::String(*set, std::move(*text));
}

Result<std::uint16_t> NameMap::IdOf(const PropertyName& name) const {
  if (const auto guid = GuidNumber(name.set)) {
    if (const auto found = _ids.find(KeyOf(*guid, name)); found != _ids.end()) {
      return found->second;
    }
  }
  return Status(StatusCode::kNotFound, "the name has no property id");
}

Result<std::uint16_t> NameMap::Add(const PropertyName& name) {
  const std::size_t index = _entries.size() / kEntrySize;
  if (index >= kMaxEntries) {
    return Status(StatusCode::kTooBig, "all ids of named properties are used up");
  }
  auto guid = GuidNumber(name.set);
  if (!guid) {
    _guids.resize(_guids.size() / name.set.size() * name.set.size());
    guid = static_cast<std::uint16_t>(kFirstStreamGuid + _guids.size() / name.set.size());
    _guids.insert(_guids.end(), name.set.begin(), name.set.end());
  }
  std::uint32_t value = name.number;
  std::uint32_t hash = name.number;
  auto wGuid = static_cast<std::uint16_t>(*guid << 1);
  if (name.kind == PropertyName::Kind::kString) {
    std::vector<std::byte> text;
    AppendText(name.set == kPsInternetHeaders ? LowerAscii(name.name) : name.name, text);
    wGuid |= 1;
    hash = Crc(text);
    value = AppendString(_strings, text);
  }
  _entries.resize(index * kEntrySize);
  AppendEntry(_entries, value, wGuid, index);
  // Readers that look names up by hash find nothing that is not in its bucket too.
  const PropTag bucket = BucketTag((hash ^ wGuid) % _buckets);
  std::vector<std::byte> records;
  if (const auto existing = _properties.Find(bucket)) {
    records.assign(existing->bytes.begin(), existing->bytes.end());
  }
  AppendEntry(records, hash, wGuid, index);
  _properties.SetBytes(bucket, records);
  const auto id = static_cast<std::uint16_t>(kFirstId + index);
  _ids.emplace(KeyOf(*guid, name), id);
  _changed = true;
  return id;
}

Status NameMap::Write(NodeDatabase& database) {
  PropertyList properties;
  for (std::size_t i = 0; i < _properties.size(); ++i) properties.Set(_properties.at(i));
  properties.SetBytes(kGuidStream, _guids);
  properties.SetBytes(kEntryStream, _entries);
  properties.SetBytes(kStringStream, _strings);
  // The copy has dropped what replaced buckets left behind.
  auto written = WritePropertyContext(database, properties);
  if (!written.ok()) return written.status();
  _changed = false;
  return database.PutNode({kNidNameToIdMap, written->data, written->subnodes, NodeId()});
}

}  // namespace parvane::pstfile
