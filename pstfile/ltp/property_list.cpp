#include "pstfile/ltp/property_list.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <limits>
#include <utility>

#include "platform/simd/ascii.h"
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

PropertyList::Arena::Arena(const Arena& other) {
  if (other._size == 0) return;
  reserve(other._size);
  _size = other._size;
  std::memcpy(data(), other.data(), _size);
}

PropertyList::Arena::Arena(Arena&& other) noexcept
    : _bytes(std::move(other._bytes)),
      _size(std::exchange(other._size, 0)),
      _capacity(std::exchange(other._capacity, 0)) {}

PropertyList::Arena& PropertyList::Arena::operator=(Arena other) noexcept {
  std::swap(_bytes, other._bytes);
  std::swap(_size, other._size);
  std::swap(_capacity, other._capacity);
  return *this;
}

void PropertyList::Arena::Deleter::operator()(std::byte* bytes) const noexcept {
  switch (size) {
    case kSmall:
      return platform::BufferPool<kSmall>::Give(bytes);
    case kLarge:
      return platform::BufferPool<kLarge>::Give(bytes);
    default:
      delete[] bytes;
  }
}

void PropertyList::Arena::reserve(std::size_t capacity) {
  if (capacity <= _capacity) return;
  std::byte* bytes = nullptr;
  if (capacity <= kSmall) {
    bytes = platform::BufferPool<kSmall>::Take();
    capacity = kSmall;
  } else if (capacity <= kLarge) {
    bytes = platform::BufferPool<kLarge>::Take();
    capacity = kLarge;
  } else {
    bytes = new std::byte[capacity];
  }
  if (_size != 0) std::memcpy(bytes, data(), _size);
  _bytes = std::unique_ptr<std::byte[], Deleter>(bytes, Deleter{capacity});
  _capacity = capacity;
}

void PropertyList::Arena::shrinkToFit() {
  if (_size == _capacity) return;
  auto* const bytes = new std::byte[_size];
  std::memcpy(bytes, data(), _size);
  _bytes = std::unique_ptr<std::byte[], Deleter>(bytes, Deleter{_size});
  _capacity = _size;
}

std::optional<std::size_t> PropertyList::Arena::OffsetOf(const void* value) const {
  const auto* at = static_cast<const std::byte*>(value);
  const std::byte* start = data();
  if (_size == 0 || std::less<>()(at, start) || !std::less<>()(at, start + _size)) {
    return std::nullopt;
  }
  return static_cast<std::size_t>(at - start);
}

std::size_t PropertyList::IndexInLong(std::uint16_t id) const {
  const auto idOf = [](const Entry& entry) { return entry.tag.Id(); };
  const auto found = std::ranges::lower_bound(_entries, id, {}, idOf);
  if (found == _entries.end() || found->tag.Id() != id) return kNone;
  return static_cast<std::size_t>(found - _entries.begin());
}

PropertyList::Entry& PropertyList::Slot(PropTag tag) {
  constexpr std::size_t kUsual = 32;
  if (_entries.capacity() == 0) _entries.reserve(kUsual);
  if (_places.IsEmpty()) _places.Clear();
  if (!IsLong()) {
    std::uint8_t& cell = _places.CellOf(tag.Id(), _entries);
    if (cell != 0) {
      Entry& entry = _entries[cell - 1U];
      entry.tag = tag;
      return entry;
    }
    if (_entries.size() < Places::kMostEntries) {
      _inOrder = _inOrder && (_entries.empty() || _entries.back().tag.Id() < tag.Id());
      Entry& entry = _entries.emplace_back();
      entry.tag = tag;
      cell = static_cast<std::uint8_t>(_entries.size());
      return entry;
    }
    if (!_inOrder) PutInOrder();
  } else if (const std::size_t at = IndexInLong(tag.Id()); at != kNone) {
    _entries[at].tag = tag;
    return _entries[at];
  }
  const auto idOf = [](const Entry& entry) { return entry.tag.Id(); };
  Entry& entry = *_entries.insert(std::ranges::lower_bound(_entries, tag.Id(), {}, idOf), Entry{});
  entry.tag = tag;
  return entry;
}

// A list of ordinary length, for others always are.
void PropertyList::PutInOrder() const {
  // Counting takes fewer cycles than comparing and swapping: no branch depends on the ids. These
  // are compared as signed numbers, which every processor does eight at a time.
  constexpr std::size_t kStep = 8;
  const auto sortable = [](const Entry& entry) {
    return static_cast<std::int16_t>(entry.tag.Id() ^ 0x8000);
  };
  std::int16_t ids[Places::kMostEntries];
  std::int16_t below[Places::kMostEntries] = {};
  Entry ordered[Places::kMostEntries];
  const std::size_t count = _entries.size();
  std::size_t filled = 0;
  while (filled < count) {
    ids[filled] = sortable(_entries[filled]);
    ++filled;
  }
  while (filled % kStep != 0) ids[filled++] = std::numeric_limits<std::int16_t>::max();
  for (std::size_t j = 0; j < count; ++j) {
    const std::int16_t id = ids[j];
    for (std::size_t i = 0; i < filled / kStep * kStep; ++i) {
      below[i] = static_cast<std::int16_t>(below[i] + (ids[i] > id));
    }
  }
  for (std::size_t i = 0; i < count; ++i) ordered[below[i]] = _entries[i];
  std::copy_n(ordered, count, _entries.begin());
  _inOrder = true;
  FillPlaces();
}

void PropertyList::FillPlaces() const {
  _places.Clear();
  if (IsLong()) return;
  const std::span<const Entry> entries = _entries;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    _places.CellOf(entries[i].tag.Id(), entries) = static_cast<std::uint8_t>(i + 1);
  }
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
  entry.size = 2 * text.size();
  // The text may be that of another property of this list.
  const auto ours = _arena.OffsetOf(text.data());
  if (_arena.size() % 2 != 0) _arena.grow(1);  // so that it can be viewed
  entry.scalar = _arena.size();
  _arena.grow(entry.size);
  if (ours) {
    text = {reinterpret_cast<const char16_t*>(_arena.data() + *ours), text.size()};
  }
  EncodeText(text, {_arena.data() + entry.scalar, 2 * text.size()});
}

void PropertyList::SetAsciiText(PropTag tag, std::string_view text) {
  if (std::endian::native != std::endian::little) {
    return SetText(tag, std::u16string(text.begin(), text.end()));
  }
  Entry& entry = Slot(tag);
  entry.kind = Property::Kind::kBytes;
  entry.size = 2 * text.size();
  if (_arena.size() % 2 != 0) _arena.grow(1);
  entry.scalar = _arena.size();
  _arena.grow(entry.size);
  platform::simd::WidenAsciiPrefix(text.data(), text.size(),
                                   reinterpret_cast<char16_t*>(_arena.data() + entry.scalar));
}

void PropertyList::SetBytes(PropTag tag, std::span<const std::byte> bytes) {
  if (IsText(tag.Type())) {
    const bool asItIs = std::endian::native == std::endian::little &&
                        reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(char16_t) == 0;
    if (!asItIs) return SetText(tag, DecodeText(bytes));
    return SetText(tag, {reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / 2});
  }
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
  if (bytes.empty()) return;
  // The bytes may be those of another property of this list.
  const auto ours = _arena.OffsetOf(bytes.data());
  _arena.grow(bytes.size());
  std::memcpy(_arena.data() + entry.scalar, ours ? _arena.data() + *ours : bytes.data(),
              bytes.size());
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

void PropertyList::CopyValue(PropTag to, PropTag from) {
  const std::size_t at = IndexOf(from.Id());
  if (at == kNone || _entries[at].tag != from || _entries[at].kind == Property::Kind::kStored) {
    return;  // blocks have one owner
  }
  Entry copy = _entries[at];
  copy.tag = to;
  Slot(to) = copy;
}

bool PropertyList::Remove(std::uint16_t id) {
  const std::size_t at = IndexOf(id);
  if (at == kNone) return false;
  _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(at));
  FillPlaces();
  return true;
}

void PropertyList::Clear() {
  _entries.clear();
  _inOrder = true;
  if (!_places.IsEmpty()) _places.Clear();
  _arena.clear();
}

void PropertyList::ReserveForMessage() {
  constexpr std::size_t kProperties = 80;
  constexpr std::size_t kBytes = 8 * 1024;
  _entries.reserve(kProperties);
  _arena.reserve(kBytes);
}

void PropertyList::ShrinkToFit() {
  _entries.shrink_to_fit();
  _arena.shrinkToFit();
}

std::optional<Property> PropertyList::Find(PropTag tag) const {
  const std::size_t at = IndexOf(tag.Id());
  if (at == kNone || _entries[at].tag != tag) return std::nullopt;
  return View(_entries[at]);
}

std::optional<Property> PropertyList::FindId(std::uint16_t id) const {
  const std::size_t at = IndexOf(id);
  if (at == kNone) return std::nullopt;
  return View(_entries[at]);
}

std::optional<std::uint64_t> PropertyList::Scalar(PropTag tag) const {
  const std::size_t at = IndexOf(tag.Id());
  if (at == kNone || _entries[at].tag != tag || _entries[at].kind != Property::Kind::kScalar) {
    return std::nullopt;
  }
  return _entries[at].scalar;
}

std::optional<std::u16string> PropertyList::Text(PropTag tag) const {
  const auto property = Find(tag);
  if (!property || property->kind != Property::Kind::kBytes) return std::nullopt;
  return DecodeText(property->bytes);
}

std::optional<std::u16string_view> PropertyList::ViewText(PropTag tag,
                                                          std::u16string& scratch) const {
  const auto property = Find(tag);
  if (!property || property->kind != Property::Kind::kBytes) return std::nullopt;
  const std::byte* bytes = property->bytes.data();
  const bool asItIs = std::endian::native == std::endian::little &&
                      reinterpret_cast<std::uintptr_t>(bytes) % alignof(char16_t) == 0;
  if (asItIs) {
    return std::u16string_view(reinterpret_cast<const char16_t*>(bytes),
                               property->bytes.size() / 2);
  }
  scratch = DecodeText(property->bytes);
  return scratch;
}

void AppendText(std::u16string_view text, std::vector<std::byte>& out) {
  const std::size_t at = out.size();
  out.resize(at + 2 * text.size());
  EncodeText(text, std::span(out).subspan(at));
}

void EncodeText(std::u16string_view text, std::span<std::byte> to) {
  const auto isHigh = [](char16_t c) { return (c & 0xFC00) == 0xD800; };
  const auto isLow = [](char16_t c) { return (c & 0xFC00) == 0xDC00; };
  if constexpr (std::endian::native == std::endian::little) {
    if (!text.empty()) std::memcpy(to.data(), text.data(), 2 * text.size());
  } else {
    for (std::size_t i = 0; i < text.size(); ++i) StoreU16(to, 2 * i, text[i]);
  }
  for (std::size_t i = 0;;) {
    i += platform::simd::SurrogateFreePrefix(to.data() + 2 * i, text.size() - i);
    if (i == text.size()) return;
    if (isHigh(text[i]) && i + 1 < text.size() && isLow(text[i + 1])) {
      i += 2;
    } else {
      StoreU16(to, 2 * i++, 0xFFFD);
    }
  }
}

std::u16string DecodeText(std::span<const std::byte> bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  if constexpr (std::endian::native == std::endian::little) {
    if (!text.empty()) std::memcpy(text.data(), bytes.data(), 2 * text.size());
  } else {
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = LoadU16(bytes, 2 * i);
  }
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
