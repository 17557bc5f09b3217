#include "carry/tnef_properties.h"

#include <cstring>
#include <utility>

#include "convert/message_streams.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/tags.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace parvane::carry {
namespace {

using namespace mapi;
namespace properties = QuelmarMIMEEngineCommon::OrvMAPIUtilities;

// A PST has room for some 32,000 names, and none is ever taken out again: a hostile file, or a
// mailbox full of odd ones, must leave some to the owner of the PST.
constexpr std::size_t kMostNames = 2000;
// What is longer goes through a stream.
constexpr std::size_t kMostInHand = 16'384;
// Set at once, so that memory does not grow with their number.
constexpr std::size_t kMostGathered = 256;
// Of one property.
constexpr std::size_t kMostValues = 4096;
constexpr ULONG kHtmlId = PropId(PR_HTML);

GUID GuidOf(std::string_view bytes) {
  GUID guid{};
  static_assert(sizeof guid == 16);
  if (bytes.size() >= sizeof guid) std::memcpy(&guid, bytes.data(), sizeof guid);
  return guid;
}

std::uint64_t BitsOf(std::string_view bytes) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < bytes.size() && i < sizeof bits; ++i) {
    bits |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
  }
  return bits;
}

template <typename Number>
Number As(std::uint64_t bits) {
  Number number{};
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

BYTE* BytesAt(std::string_view bytes) {
  return reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()));
}

std::string_view WithoutZero(std::string_view bytes, std::size_t width) {
  const std::string_view zero("\0\0", width);
  while (bytes.ends_with(zero)) bytes.remove_suffix(width);
  return bytes;
}

}  // namespace

ULONG NamedIds::For(IMAPIProp& object, const tnef::PropertyName& name) {
  std::string key(name.set);
  if (name.isText) {
    key.append(name.text);
  } else {
    key.append(1, '#').append(std::to_string(name.number));
  }
  if (const auto known = _ids.find(key); known != _ids.end()) return known->second;
  // What a store refused is remembered, too (0), and not asked for again.
  if (_ids.size() == kMostNames) return 0;
  GUID set = GuidOf(name.set);
  std::u16string text = WideTextOf(name.text);
  const ULONG tag = name.isText
                        ? properties::GetNamedPropId(&object, text.c_str(), &set)
                        : properties::GetNamedPropId(&object, static_cast<LONG>(name.number), &set);
  return _ids.emplace(std::move(key), PropId(tag)).first->second;
}

// Texts end at their first zero, as they do in MAPI, and may have none at all here.
std::u16string TextOf(std::string_view bytes, unsigned codePage) {
  std::u16string text;
  platform::DecodeCodePage(codePage, bytes.substr(0, bytes.find('\0')), text);
  return text;
}

std::u16string WideTextOf(std::string_view utf16) {
  std::u16string text(utf16.size() / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), utf16.data(), text.size() * 2);
  text.resize(std::min(text.find(u'\0'), text.size()));
  platform::ReplaceUnpairedSurrogates(text);
  return text;
}

std::u16string TextOf(const tnef::Property& property, unsigned codePage) {
  if (property.type == PT_UNICODE) return WideTextOf(property.value);
  return property.type == PT_STRING8 ? TextOf(property.value, codePage) : u"";
}

std::uint32_t NumberIn(const tnef::Property& property) {
  return property.type == PT_LONG ? static_cast<std::uint32_t>(BitsOf(property.value)) : 0;
}

void TnefProperties::Add(const tnef::Property& property, ULONG tag) {
  switch (property.type) {
    case PT_STRING8:
      if (PropId(tag) == kHtmlId) return AddBytes(PR_HTML, WithoutZero(property.value, 1));
      return AddText(PropTag(PT_UNICODE, PropId(tag)), TextOf(property, _codePage));
    case PT_UNICODE:
      return AddText(tag, WideTextOf(property.value));
    case PT_BINARY:
      return AddBytes(tag, property.value);
    case PT_MV_STRING8:
    case PT_MV_UNICODE:
    case PT_MV_BINARY:
    case PT_MV_LONG:
      return AddSeveral(property, tag);
    default:
      return AddFixed(property, tag);
  }
}

void TnefProperties::AddNumber(ULONG tag, ULONG value) { Append(tag).Value.ul = value; }

void TnefProperties::AddTruth(ULONG tag, bool value) { Append(tag).Value.b = value ? 1 : 0; }

void TnefProperties::AddTime(ULONG tag, std::uint64_t ticks) {
  Append(tag).Value.ft = platform::FileTimeFromTicks(ticks);
}

// With no object to write to (rows of recipients), everything is gathered: such rows are short.
void TnefProperties::AddText(ULONG tag, std::u16string text) {
  if (text.empty()) return;
  if (_object && text.size() > kMostInHand) {
    const std::string_view bytes(reinterpret_cast<const char*>(text.data()), text.size() * 2);
    convert::WritePropertyStream(*_object, tag, bytes);
    return;
  }
  SPropValue& value = Append(tag);
  // A deque, whose texts stay where they are while values point at them.
  value.Value.lpszW = _texts.emplace_back(std::move(text)).data();
}

void TnefProperties::AddBytes(ULONG tag, std::string_view bytes) {
  if (_object && bytes.size() > kMostInHand) {
    convert::WritePropertyStream(*_object, tag, bytes);
  } else {
    Append(tag).Value.bin = {static_cast<ULONG>(bytes.size()), BytesAt(bytes)};
  }
}

// A place for the value is made first: that may set and forget what was gathered before.
void TnefProperties::AddSeveral(const tnef::Property& property, ULONG tag) {
  const bool text = property.type == PT_MV_UNICODE || property.type == PT_MV_STRING8;
  SPropUnion& value = Append(text ? PropTag(PT_MV_UNICODE, PropId(tag)) : tag).Value;
  tnef::ValueReader reader(property);
  std::string_view one;
  _whole &= property.count <= kMostValues;
  const auto fill = [&](auto& list, auto made) {
    while (list.size() < kMostValues && reader.Next(one)) list.push_back(made());
    return static_cast<ULONG>(list.size());
  };
  if (property.type == PT_MV_BINARY) {
    auto& list = _binaryLists.emplace_back();
    const ULONG count = fill(list, [&] {
      return SBinary{static_cast<ULONG>(one.size()), BytesAt(one)};
    });
    value.MVbin = {count, list.data()};
  } else if (property.type == PT_MV_LONG) {
    auto& list = _numberLists.emplace_back();
    const ULONG count = fill(list, [&] { return As<LONG>(BitsOf(one)); });
    value.MVl = {count, list.data()};
  } else {
    auto& list = _textLists.emplace_back();
    const bool wide = property.type == PT_MV_UNICODE;
    const ULONG count = fill(list, [&] {
      return _texts.emplace_back(wide ? WideTextOf(one) : TextOf(one, _codePage)).data();
    });
    value.MVszW = {count, list.data()};
  }
}

void TnefProperties::AddFixed(const tnef::Property& property, ULONG tag) {
  const std::uint64_t bits = BitsOf(property.value);
  switch (property.type) {
    case PT_I2:
      Append(tag).Value.i = As<std::int16_t>(bits);
      break;
    case PT_LONG:
      AddNumber(tag, As<ULONG>(bits));
      break;
    case PT_R4:
      Append(tag).Value.flt = As<float>(bits);
      break;
    case PT_DOUBLE:
    case PT_APPTIME:
      Append(tag).Value.dbl = As<double>(bits);
      break;
    case PT_BOOLEAN:
      AddTruth(tag, bits != 0);
      break;
    case PT_CURRENCY:
    case PT_I8:
      Append(tag).Value.li.QuadPart = As<std::int64_t>(bits);
      break;
    case PT_SYSTIME:
      AddTime(tag, bits);
      break;
    case PT_CLSID:
      AddGuid(tag, property.value);
      break;
    default:
      break;
  }
}

void TnefProperties::AddGuid(ULONG tag, std::string_view bytes) {
  SPropUnion& value = Append(tag).Value;
  value.lpguid = &_guids.emplace_back(GuidOf(bytes));
}

SPropValue& TnefProperties::Append(ULONG tag) {
  if (_object && _values.size() == kMostGathered) Set();
  _values.push_back(properties::NumberOf(tag, 0));
  return _values.back();
}

void TnefProperties::Set() {
  if (!_values.empty())
    properties::SetProperties(*_object, static_cast<ULONG>(_values.size()), _values.data());
  _values.clear();
  _texts.clear();
  _textLists.clear();
  _binaryLists.clear();
  _numberLists.clear();
  _guids.clear();
}

}  // namespace parvane::carry
