#include "pstfile/ltp/property_list.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <limits>

#include "platform/text.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {
namespace {

bool IsText(PropType type) { return type == PropType::kUnicode; }

std::uint64_t MaskTo(PropType type, std::uint64_t bits) {
  const std::size_t size = FixedSize(type);
  return size >= 8 || size == 0 ? bits : bits & ((std::uint64_t{1} << (8 * size)) - 1);
}

void AppendU32(std::vector<std::byte>& out, std::size_t value) {
  const std::size_t at = out.size();
  out.resize(at + 4);
  StoreU32(out, at, static_cast<std::uint32_t>(value));
}

}  // namespace

std::string ToString(PropTag tag) {
  std::string text(8, '0');
  for (int i = 0; i < 8; ++i) text[i] = "0123456789ABCDEF"[(tag.value >> (28 - 4 * i)) & 15];
  return text;
}

bool IsStorable(PropType type) {
  switch (type) {
    case PropType::kUnspecified:
    case PropType::kNull:
      return false;
    case PropType::kObject:
    case PropType::kString8:
    case PropType::kUnicode:
    case PropType::kBinary:
    case PropType::kMultiString8:
    case PropType::kMultiUnicode:
    case PropType::kMultiBinary:
      return true;
    default:
      return FixedSize(type) != 0 || ElementSize(type) > 1;
  }
}

std::uint64_t Property::Size() const {
  switch (kind) {
    case Kind::kScalar:
      return FixedSize(tag.Type());
    case Kind::kBytes:
      return bytes.size();
    case Kind::kStored:
      return stored.size;
    case Kind::kObject:
      return object.size;
  }
  return 0;
}

std::size_t PropertyList::LowerBound(std::uint16_t id) const {
  // Callers mostly add in ascending order.
  if (_entries.empty() || _entries.back().tag.Id() < id) return _entries.size();
  const auto found =
      std::lower_bound(_entries.begin(), _entries.end(), id,
                       [](const Entry& e, std::uint16_t i) { return e.tag.Id() < i; });
  return static_cast<std::size_t>(found - _entries.begin());
}

PropertyList::Entry& PropertyList::Slot(PropTag tag) {
  const std::size_t at = LowerBound(tag.Id());
  if (at == _entries.size() || _entries[at].tag.Id() != tag.Id()) {
    _entries.insert(_entries.begin() + static_cast<std::ptrdiff_t>(at), Entry{});
  }
  _entries[at].tag = tag;
  return _entries[at];
}

void PropertyList::SetScalar(PropTag tag, std::uint64_t bits) {
  Entry& entry = Slot(tag);
  entry.kind = Property::Kind::kScalar;
  entry.scalar = MaskTo(tag.Type(), bits);
  entry.size = FixedSize(tag.Type());
}

void PropertyList::SetText(PropTag tag, std::u16string_view text) {
  Entry& entry = Slot(tag);
  entry.kind = Property::Kind::kBytes;
  entry.scalar = _arena.size();
  entry.size = 2 * text.size();
  AppendText(text, _arena);
}

void PropertyList::SetBytes(PropTag tag, std::span<const std::byte> bytes) {
  if (IsText(tag.Type())) return SetText(tag, DecodeText(bytes));
  std::vector<std::byte> clean;
  if (tag.Type() == PropType::kMultiUnicode) {
    if (const auto elements = DecodeMultiVariable(bytes)) {
      std::vector<std::u16string> texts;
      for (const auto element : *elements) texts.push_back(DecodeText(element));
      clean = EncodeMultiText(std::vector<std::u16string_view>(texts.begin(), texts.end()));
      bytes = clean;
    }
  }
  Entry& entry = Slot(tag);
  entry.kind = Property::Kind::kBytes;
  entry.scalar = _arena.size();
  entry.size = bytes.size();
  // The bytes may be those of another property of this list.
  const bool ours = !_arena.empty() && !bytes.empty() &&
                    !std::less<>()(bytes.data(), _arena.data()) &&
                    std::less<>()(bytes.data(), _arena.data() + _arena.size());
  const std::size_t offset = ours ? static_cast<std::size_t>(bytes.data() - _arena.data()) : 0;
  _arena.resize(_arena.size() + bytes.size());
  if (!bytes.empty()) {
    std::memcpy(&_arena[entry.scalar], ours ? &_arena[offset] : bytes.data(), bytes.size());
  }
}

void PropertyList::SetStored(PropTag tag, StoredValue value) {
  Entry& entry = Slot(tag);
  entry.kind = Property::Kind::kStored;
  entry.scalar = value.root.value;
  entry.size = value.size;
}

void PropertyList::SetObject(PropTag tag, ObjectValue value) {
  Entry& entry = Slot(tag);
  entry.kind = Property::Kind::kObject;
  entry.scalar = value.node.value;
  entry.size = value.size;
}

void PropertyList::Set(const Property& property) {
  switch (property.kind) {
    case Property::Kind::kScalar:
      return SetScalar(property.tag, property.scalar);
    case Property::Kind::kBytes:
      return SetBytes(property.tag, property.bytes);
    case Property::Kind::kStored:
      return SetStored(property.tag, property.stored);
    case Property::Kind::kObject:
      return SetObject(property.tag, property.object);
  }
}

bool PropertyList::Remove(std::uint16_t id) {
  const std::size_t at = LowerBound(id);
  if (at == _entries.size() || _entries[at].tag.Id() != id) return false;
  _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(at));
  return true;
}

void PropertyList::Clear() {
  _entries.clear();
  _arena.clear();
}

Property PropertyList::at(std::size_t index) const {
  const Entry& entry = _entries[index];
  Property property;
  property.tag = entry.tag;
  property.kind = entry.kind;
  switch (entry.kind) {
    case Property::Kind::kScalar:
      property.scalar = entry.scalar;
      break;
    case Property::Kind::kBytes:
      property.bytes = std::span(_arena).subspan(entry.scalar, entry.size);
      break;
    case Property::Kind::kStored:
      property.stored = {BlockId(entry.scalar), entry.size};
      break;
    case Property::Kind::kObject:
      property.object = {NodeId(static_cast<std::uint32_t>(entry.scalar)),
                         static_cast<std::uint32_t>(entry.size)};
      break;
  }
  return property;
}

std::optional<Property> PropertyList::FindId(std::uint16_t id) const {
  const std::size_t index = LowerBound(id);
  if (index == _entries.size() || _entries[index].tag.Id() != id) return std::nullopt;
  return at(index);
}

std::optional<Property> PropertyList::Find(PropTag tag) const {
  auto property = FindId(tag.Id());
  if (property && property->tag != tag) property.reset();
  return property;
}

std::optional<std::uint64_t> PropertyList::Scalar(PropTag tag) const {
  const auto property = Find(tag);
  if (!property || property->kind != Property::Kind::kScalar) return std::nullopt;
  return property->scalar;
}

std::optional<std::u16string> PropertyList::Text(PropTag tag) const {
  const auto property = Find(tag);
  if (!property || property->kind != Property::Kind::kBytes) return std::nullopt;
  return DecodeText(property->bytes);
}

void AppendText(std::u16string_view text, std::vector<std::byte>& out) {
  const std::size_t at = out.size();
  out.resize(at + 2 * text.size());
  const auto isHigh = [](char16_t c) { return (c & 0xFC00) == 0xD800; };
  const auto isLow = [](char16_t c) { return (c & 0xFC00) == 0xDC00; };
  for (std::size_t i = 0; i < text.size(); ++i) {
    char16_t unit = text[i];
    if ((unit & 0xF800) == 0xD800) {
      const bool paired =
          isHigh(unit) ? i + 1 < text.size() && isLow(text[i + 1]) : i > 0 && isHigh(text[i - 1]);
      if (!paired) unit = 0xFFFD;
    }
    StoreU16(out, at + 2 * i, unit);
  }
}

std::u16string DecodeText(std::span<const std::byte> bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = LoadU16(bytes, 2 * i);
  return text;
}

std::vector<std::byte> EncodeMultiBinary(std::span<const std::span<const std::byte>> values) {
  std::vector<std::byte> out;
  AppendU32(out, values.size());
  std::size_t offset = 4 + 4 * values.size();
  for (const auto value : values) {
    AppendU32(out, offset);
    offset += value.size();
  }
  for (const auto value : values) out.insert(out.end(), value.begin(), value.end());
  return out;
}

std::vector<std::byte> EncodeMultiText(std::span<const std::u16string_view> values) {
  std::vector<std::vector<std::byte>> encoded(values.size());
  std::vector<std::span<const std::byte>> views;
  for (std::size_t i = 0; i < values.size(); ++i) {
    AppendText(values[i], encoded[i]);
    views.push_back(encoded[i]);
  }
  return EncodeMultiBinary(views);
}

std::optional<std::vector<std::span<const std::byte>>> DecodeMultiVariable(
    std::span<const std::byte> value) {
  std::vector<std::span<const std::byte>> elements;
  if (value.empty()) return elements;
  if (value.size() < 4) return std::nullopt;
  const std::size_t count = LoadU32(value, 0);
  if (count > (value.size() - 4) / 4) return std::nullopt;
  std::size_t start = count == 0 ? value.size() : LoadU32(value, 4);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t end = i + 1 < count ? LoadU32(value, 4 + 4 * (i + 1)) : value.size();
    if (start < 4 + 4 * count || end < start || end > value.size()) return std::nullopt;
    elements.push_back(value.subspan(start, end - start));
    start = end;
  }
  return elements;
}

}  // namespace parvane::pstfile
