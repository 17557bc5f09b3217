#include "mime/tnef/property_reader.h"

#include <algorithm>

namespace parvane::tnef {
namespace {

constexpr std::uint16_t kSeveral = 0x1000;
constexpr std::uint16_t kFirstNamed = 0x8000;
constexpr std::size_t kSetSize = 16;

// Bytes of one value, without filling; 0 for those that state their size; nothing for types that
// nobody knows.
std::optional<std::size_t> WidthOf(std::uint16_t type) {
  switch (type & ~kSeveral) {
    case 0x0001:  // PT_NULL
    case 0x0002:  // PT_SHORT
    case 0x000B:  // PT_BOOLEAN
      return 2;
    case 0x0003:  // PT_LONG
    case 0x0004:  // PT_FLOAT
    case 0x000A:  // PT_ERROR
      return 4;
    case 0x0005:  // PT_DOUBLE
    case 0x0006:  // PT_CURRENCY
    case 0x0007:  // PT_APPTIME
    case 0x0014:  // PT_LONGLONG
    case 0x0040:  // PT_SYSTIME
      return 8;
    case 0x0048:  // PT_CLSID
      return 16;
    case 0x000D:  // PT_OBJECT
    case 0x001E:  // PT_STRING8
    case 0x001F:  // PT_UNICODE
    case 0x0102:  // PT_BINARY
      return 0;
    default:
      return {};
  }
}

// The filling behind the last value of a list may be missing.
void SkipFilling(ByteReader& reader, std::size_t size) {
  std::string_view filling;
  reader.Take(std::min((4 - size % 4) % 4, reader.rest().size()), filling);
}

bool TakeOne(ByteReader& reader, std::size_t width, std::string_view& value) {
  std::uint32_t size = static_cast<std::uint32_t>(width);
  if (width == 0 && !reader.Take(size)) return false;
  if (!reader.Take(size, value)) return false;
  SkipFilling(reader, size);
  return true;
}

}  // namespace

PropertyReader::PropertyReader(ByteReader& reader) : _reader(reader) {
  _whole = _reader.Take(_left);
}

bool PropertyReader::Next(Property& property) {
  if (!_whole || _left == 0) return false;
  property = {};
  _whole = _reader.Take(property.type) && _reader.Take(property.id) &&
           (property.id < kFirstNamed || TakeName(property.name)) && TakeValue(property);
  if (_whole) --_left;
  return _whole;
}

bool PropertyReader::TakeName(std::optional<PropertyName>& name) {
  std::uint32_t kind = 0;
  name.emplace();
  if (!_reader.Take(kSetSize, name->set) || !_reader.Take(kind)) return false;
  name->isText = kind == 1;
  if (!name->isText) return _reader.Take(name->number);
  if (!TakeOne(_reader, 0, name->text)) return false;
  if (name->text.ends_with(std::string_view("\0\0", 2))) name->text.remove_suffix(2);
  return true;
}

bool PropertyReader::TakeValue(Property& property) {
  const auto width = WidthOf(property.type);
  if (!width) return false;
  const bool several = (property.type & kSeveral) != 0;
  if (*width != 0 && !several) {
    property.all = _reader.rest();
    return TakeOne(_reader, *width, property.value);
  }
  if (!_reader.Take(property.count)) return false;
  property.all = _reader.rest();
  for (std::uint32_t i = 0; i < property.count; ++i) {
    std::string_view value;
    if (!TakeOne(_reader, *width, value)) return false;
    if (i == 0) property.value = value;
  }
  return true;
}

bool ValueReader::Next(std::string_view& value) {
  if (_left == 0) return false;
  --_left;
  return TakeOne(_rest, WidthOf(_type).value_or(0), value);
}

}  // namespace parvane::tnef
