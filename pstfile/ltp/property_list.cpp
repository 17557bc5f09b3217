#include "pstfile/ltp/property_list.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
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

// A multi-value of elements of any size ([MS-PST] 2.3.3.4.2): their count, the offset of each, the
// elements.
constexpr std::size_t kMultiCountSize = 4;
constexpr std::size_t kMultiOffsetSize = 4;
// Of `count` elements; also the place of the offset behind so many.
constexpr std::size_t StartOfMultiValues(std::size_t count) {
  return kMultiCountSize + kMultiOffsetSize * count;
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
  if (_size == 0) {
    _bytes.reset();
    _capacity = 0;
    return;
  }
  auto* const bytes = new std::byte[_size];
  std::memcpy(bytes, data(), _size);
  _bytes = std::unique_ptr<std::byte[], Deleter>(bytes, Deleter{_size});
  _capacity = _size;
}

std::size_t PropertyList::IndexInLong(std::uint16_t id) const {
  const auto idOf = [](const Item& item) { return item.tag.Id(); };
  const auto found = std::ranges::lower_bound(_items, id, {}, idOf);
  if (found == _items.end() || found->tag.Id() != id) return kNone;
  return static_cast<std::size_t>(found - _items.begin());
}

PropertyList::Item& PropertyList::Slot(PropTag tag) {
  constexpr std::size_t kUsual = 32;
  if (_items.capacity() == 0) _items.reserve(kUsual);
  if (_places.IsEmpty()) _places.Clear();
  if (!IsLong()) {
    std::uint8_t& cell = _places.CellOf(tag.Id(), _items);
    if (cell != 0) {
      Item& item = _items[cell - 1U];
      item.tag = tag;
      return item;
    }
    if (_items.size() < Places::kMostItems) {
      _inOrder = _inOrder && (_items.empty() || _items.back().tag.Id() < tag.Id());
      Item& item = _items.emplace_back();
      item.tag = tag;
      cell = static_cast<std::uint8_t>(_items.size());
      return item;
    }
    if (!_inOrder) PutInOrder();
  } else if (const std::size_t at = IndexInLong(tag.Id()); at != kNone) {
    _items[at].tag = tag;
    return _items[at];
  }
  const auto idOf = [](const Item& item) { return item.tag.Id(); };
  Item& item = *_items.insert(std::ranges::lower_bound(_items, tag.Id(), {}, idOf), Item{});
  item.tag = tag;
  return item;
}

void PropertyList::PutInOrder() const {
  std::ranges::sort(_items, {}, [](const Item& item) { return item.tag.Id(); });
  _inOrder = true;
  FillPlaces();
}

void PropertyList::RankItems(platform::RecycledVector<std::uint16_t>& ranks) const {
  ranks.resize(_items.size());
  if (_inOrder) return std::iota(ranks.begin(), ranks.end(), std::uint16_t{0});
  // Counting takes fewer cycles than comparing and swapping: no branch depends on the ids. These
  // are compared as signed numbers, which every processor does eight at a time.
  constexpr std::size_t kStep = 8;
  std::int16_t ids[Places::kMostItems];
  std::int16_t below[Places::kMostItems] = {};
  const std::size_t count = _items.size();
  std::size_t filled = 0;
  for (; filled < count; ++filled) {
    ids[filled] = static_cast<std::int16_t>(_items[filled].tag.Id() ^ 0x8000);
  }
  while (filled % kStep != 0) ids[filled++] = std::numeric_limits<std::int16_t>::min();
  for (std::size_t j = 0; j < count; ++j) {
    const std::int16_t id = ids[j];
    for (std::size_t i = 0; i < filled / kStep * kStep; ++i) {
      below[i] = static_cast<std::int16_t>(below[i] + (ids[i] > id));
    }
  }
  for (std::size_t i = 0; i < count; ++i) ranks[i] = static_cast<std::uint16_t>(below[i]);
}

void PropertyList::FillPlaces() const {
  _places.Clear();
  if (IsLong()) return;
  const std::span<const Item> items = _items;
  for (std::size_t i = 0; i < items.size(); ++i) {
    _places.CellOf(items[i].tag.Id(), items) = static_cast<std::uint8_t>(i + 1);
  }
}

void PropertyList::SetScalar(PropTag tag, std::uint64_t bits) {
  Item& item = Slot(tag);
  item.kind = Property::Kind::kScalar;
  item.scalar = MaskTo(tag.Type(), bits);
  item.size = FixedSize(tag.Type());
}

void PropertyList::SetText(PropTag tag, std::u16string_view text) {
  Item& item = Slot(tag);
  item.kind = Property::Kind::kBytes;
  item.size = 2 * text.size();
  // The text may be that of another property of this list.
  const auto ours = _arena.OffsetOf(text.data());
  if (_arena.size() % 2 != 0) _arena.grow(1);  // so that it can be viewed
  item.scalar = _arena.size();
  _arena.grow(item.size);
  if (ours) {
    text = {reinterpret_cast<const char16_t*>(_arena.data() + *ours), text.size()};
  }
  EncodeText(text, {_arena.data() + item.scalar, 2 * text.size()});
}

void PropertyList::SetAsciiText(PropTag tag, std::string_view text) {
  if (std::endian::native != std::endian::little) {
    return SetText(tag, std::u16string(text.begin(), text.end()));
  }
  Item& item = Slot(tag);
  item.kind = Property::Kind::kBytes;
  item.size = 2 * text.size();
  if (_arena.size() % 2 != 0) _arena.grow(1);
  item.scalar = _arena.size();
  _arena.grow(item.size);
  platform::simd::WidenAsciiPrefix(text.data(), text.size(),
                                   reinterpret_cast<char16_t*>(_arena.data() + item.scalar));
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
  Item& item = Slot(tag);
  item.kind = Property::Kind::kBytes;
  item.scalar = _arena.size();
  item.size = bytes.size();
  if (bytes.empty()) return;
  // The bytes may be those of another property of this list.
  const auto ours = _arena.OffsetOf(bytes.data());
  _arena.grow(bytes.size());
  std::memcpy(_arena.data() + item.scalar, ours ? _arena.data() + *ours : bytes.data(),
              bytes.size());
}

void PropertyList::SetStored(PropTag tag, StoredValue value) {
  Item& item = Slot(tag);
  item.kind = Property::Kind::kStored;
  item.scalar = value.root.value;
  item.size = value.size;
}

void PropertyList::SetObject(PropTag tag, ObjectValue value) {
  Item& item = Slot(tag);
  item.kind = Property::Kind::kObject;
  item.scalar = value.node.value;
  item.size = value.size;
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
  if (at == kNone || _items[at].tag != from || _items[at].kind == Property::Kind::kStored) {
    return;  // blocks have one owner
  }
  Item copy = _items[at];
  copy.tag = to;
  Slot(to) = copy;
}

bool PropertyList::Remove(std::uint16_t id) {
  const std::size_t at = IndexOf(id);
  if (at == kNone) return false;
  // The places are numbers of items, and those behind it move up. Its bytes stay in the arena:
  // lists live for one message.
  _items.erase(_items.begin() + static_cast<std::ptrdiff_t>(at));
  FillPlaces();
  return true;
}

void PropertyList::Clear() {
  _items.clear();
  _inOrder = true;
  if (!_places.IsEmpty()) _places.Clear();
  _arena.clear();
}

void PropertyList::ReserveForMessage() {
  constexpr std::size_t kProperties = 80;
  constexpr std::size_t kBytes = 8 * 1024;
  _items.reserve(kProperties);
  _arena.reserve(kBytes);
}

void PropertyList::ShrinkToFit() {
  _items.shrink_to_fit();
  if (_items.empty()) _places.Release();
  _arena.shrinkToFit();
}

std::optional<Property> PropertyList::Find(PropTag tag) const {
  const std::size_t at = IndexOf(tag.Id());
  if (at == kNone || _items[at].tag != tag) return std::nullopt;
  return View(_items[at]);
}

std::optional<Property> PropertyList::FindId(std::uint16_t id) const {
  const std::size_t at = IndexOf(id);
  if (at == kNone) return std::nullopt;
  return View(_items[at]);
}

std::optional<std::uint64_t> PropertyList::Scalar(PropTag tag) const {
  const std::size_t at = IndexOf(tag.Id());
  if (at == kNone || _items[at].tag != tag || _items[at].kind != Property::Kind::kScalar) {
    return std::nullopt;
  }
  return _items[at].scalar;
}

std::optional<std::u16string> PropertyList::Text(PropTag tag) const {
  std::u16string scratch;
  const auto text = ViewText(tag, scratch);
  if (!text) return std::nullopt;
  return std::u16string(*text);
}

std::optional<std::u16string_view> PropertyList::ViewText(PropTag tag,
                                                          std::u16string& scratch) const {
  const std::size_t at = IndexOf(tag.Id());
  if (at == kNone || _items[at].tag != tag || _items[at].kind != Property::Kind::kBytes) {
    return std::nullopt;
  }
  const std::span<const std::byte> bytes = BytesOf(_items[at]);
  const bool asItIs = std::endian::native == std::endian::little &&
                      reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(char16_t) == 0;
  if (asItIs) {
    return std::u16string_view(reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / 2);
  }
  scratch = DecodeText(bytes);
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
  std::size_t offset = StartOfMultiValues(values.size());
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
  if (value.size() < kMultiCountSize) return std::nullopt;
  const std::size_t count = LoadU32(value, 0);
  if (count > (value.size() - kMultiCountSize) / kMultiOffsetSize) return std::nullopt;
  const std::size_t values = StartOfMultiValues(count);
  // An element ends where the next one begins; the last one with the value.
  const auto startOf = [&](std::size_t i) -> std::size_t {
    return i < count ? LoadU32(value, StartOfMultiValues(i)) : value.size();
  };
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t start = startOf(i);
    const std::size_t end = startOf(i + 1);
    if (start < values || end < start || end > value.size()) return std::nullopt;
    elements.push_back(value.subspan(start, end - start));
  }
  return elements;
}

}  // namespace parvane::pstfile
