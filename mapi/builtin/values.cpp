#include "mapi/builtin/values.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <optional>

#include "mapi/constants.h"
#include "mapi/results.h"
#include "platform/code_pages/code_page.h"
#include "platform/simd/ascii.h"
#include "platform/text.h"

namespace parvane::mapi::builtin {
namespace {

template <typename T>
std::span<const std::byte> BytesOf(const T* values, std::size_t count) {
  return {reinterpret_cast<const std::byte*>(values), count * sizeof(T)};
}

std::span<const std::byte> BytesOf(const SBinary& binary) {
  return BytesOf(binary.lpb, binary.lpb == nullptr ? 0 : binary.cb);
}

// What there is to know about a type: how its values are kept and handed out, and the size of one
// of many, which are packed without a gap (0: not of one size, or never many).
enum class Shape { kNone, kNumber, kBoolean, kTime, kError, kGuid, kBinary, kText, kAnsi };
struct TypeRow {
  ULONG type;
  Shape shape;
  std::size_t size = 0;
};
// The most frequent first.
constexpr TypeRow kTypes[] = {{PT_LONG, Shape::kNumber, 4},     {PT_UNICODE, Shape::kText},
                              {PT_BINARY, Shape::kBinary},      {PT_STRING8, Shape::kAnsi},
                              {PT_BOOLEAN, Shape::kBoolean},    {PT_SYSTIME, Shape::kTime, 8},
                              {PT_I2, Shape::kNumber, 2},       {PT_R4, Shape::kNumber, 4},
                              {PT_DOUBLE, Shape::kNumber, 8},   {PT_APPTIME, Shape::kNumber, 8},
                              {PT_CURRENCY, Shape::kNumber, 8}, {PT_I8, Shape::kNumber, 8},
                              {PT_CLSID, Shape::kGuid, 16},     {PT_ERROR, Shape::kError}};

TypeRow RowOf(ULONG type) {
  for (const TypeRow& row : kTypes) {
    if (row.type == (type & ~MV_FLAG)) return row;
  }
  return {type, Shape::kNone};
}

const char16_t* OrEmpty(const char16_t* text) { return text == nullptr ? u"" : text; }
const char* OrEmpty(const char* text) { return text == nullptr ? "" : text; }

// All arrays of the union lie alike: a count, and a pointer to the values.
static_assert(sizeof(SLongArray) == sizeof(SShortArray) &&
              sizeof(SLongArray) == sizeof(SGuidArray) &&
              offsetof(SLongArray, lpl) == offsetof(SShortArray, lpi) &&
              offsetof(SLongArray, lpl) == offsetof(SBinaryArray, lpbin) &&
              offsetof(SLongArray, lpl) == offsetof(SWStringArray, lppszW));

template <typename ToText>
HRESULT StoreTexts(pstfile::PropTag tag, ULONG count, ToText toText, pstfile::PropertyList& list) {
  std::vector<std::u16string> texts;
  for (ULONG i = 0; i < count; ++i) texts.push_back(toText(i));
  const std::vector<std::u16string_view> views(texts.begin(), texts.end());
  list.SetBytes(tag, pstfile::EncodeMultiText(views));
  return S_OK;
}

HRESULT StoreMultiValue(pstfile::PropTag tag, const TypeRow& row, const SPropUnion& v,
                        pstfile::PropertyList& list) {
  const bool known = row.size != 0 || row.shape == Shape::kBinary || row.shape == Shape::kText ||
                     row.shape == Shape::kAnsi;
  if (!known) return MAPI_E_INVALID_TYPE;
  const ULONG count = v.MVl.cValues;
  if (v.MVl.lpl == nullptr) return MAPI_E_INVALID_PARAMETER;
  if (row.size != 0) {
    list.SetBytes(tag, BytesOf(reinterpret_cast<const char*>(v.MVl.lpl), count * row.size));
  } else if (row.shape == Shape::kBinary) {
    std::vector<std::span<const std::byte>> parts;
    for (ULONG i = 0; i < count; ++i) parts.push_back(BytesOf(v.MVbin.lpbin[i]));
    list.SetBytes(tag, pstfile::EncodeMultiBinary(parts));
  } else if (row.shape == Shape::kText) {
    const auto text = [&](ULONG i) { return std::u16string(OrEmpty(v.MVszW.lppszW[i])); };
    return StoreTexts(tag, count, text, list);
  } else {
    const auto text = [&](ULONG i) { return platform::AnsiToUtf16(OrEmpty(v.MVszA.lppszA[i])); };
    return StoreTexts(tag, count, text, list);
  }
  return S_OK;
}

HRESULT StoreBinary(pstfile::PropTag tag, const SBinary& binary, LargeValueTaker* taker,
                    pstfile::PropertyList& list) {
  if (binary.lpb == nullptr && binary.cb != 0) return MAPI_E_INVALID_PARAMETER;
  if (taker != nullptr && binary.cb > kLargestReturnedValue) {
    return taker->TakeLarge(tag, BytesOf(binary));
  }
  list.SetBytes(tag, BytesOf(binary));
  return S_OK;
}

HRESULT StoreText(pstfile::PropTag tag, std::u16string_view text, unsigned htmlCodePage,
                  LargeValueTaker* taker, pstfile::PropertyList& list) {
  if (tag.Id() == kHtmlId) {
    std::string html;
    platform::EncodeCodePage(htmlCodePage, text, html);
    list.SetBytes(tag, BytesOf(html.data(), html.size()));
    return S_OK;
  }
  if (taker != nullptr && 2 * text.size() > kLargestReturnedValue &&
      std::endian::native == std::endian::little) {
    return taker->TakeLarge(tag, BytesOf(text.data(), text.size()));
  }
  list.SetText(tag, text);
  return S_OK;
}

HRESULT StoreAnsi(pstfile::PropTag tag, std::string_view text, LargeValueTaker* taker,
                  pstfile::PropertyList& list) {
  if (tag.Id() == kHtmlId) {
    list.SetBytes(tag, BytesOf(text.data(), text.size()));
  } else if (platform::simd::AsciiPrefix(text.data(), text.size()) == text.size()) {
    // The same in every code page.
    if (taker != nullptr && 2 * text.size() > kLargestReturnedValue) {
      return taker->TakeLargeAnsi(tag, text);
    }
    list.SetAsciiText(tag, text);
  } else if (taker != nullptr && text.size() > 2 * kLargestReturnedValue) {
    // However many bytes its characters have.
    return taker->TakeLargeAnsi(tag, text);
  } else {
    list.SetText(tag, platform::AnsiToUtf16(text));
  }
  return S_OK;
}

std::uint64_t NumberBits(const SPropUnion& v, std::size_t size) {
  if (size == 2) return static_cast<std::uint16_t>(v.i);
  return size == 4 ? v.ul : static_cast<std::uint64_t>(v.li.QuadPart);
}

void SetNumber(std::uint64_t bits, std::size_t size, SPropUnion& out) {
  if (size == 2) {
    out.b = static_cast<std::uint16_t>(bits);
  } else if (size == 4) {
    out.ul = static_cast<ULONG>(bits);
  } else {
    out.li.QuadPart = static_cast<LONGLONG>(bits);
  }
}

// Conversion between the two widths, and of HTML bytes to text.
std::string ToAnsi(std::span<const std::byte> text) {
  std::u16string scratch;
  return platform::Utf16ToAnsi(ViewText(text, scratch));
}

std::string_view ViewChars(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void SetBinary(std::span<const std::byte> bytes, Chain& chain, SBinary& out) {
  out.cb = static_cast<ULONG>(bytes.size());
  out.lpb = chain.Copy(bytes);
}

// False when there is not a single one.
bool ReturnMultiValue(const Value& value, const TypeRow& row, Chain& chain, SPropUnion& out) {
  if (row.size != 0) {
    out.MVl.cValues = static_cast<ULONG>(value.bytes.size() / row.size);
    out.MVl.lpl =
        reinterpret_cast<LONG*>(chain.Copy(value.bytes.first(out.MVl.cValues * row.size)));
    return out.MVl.cValues != 0;
  }
  const auto parts = pstfile::DecodeMultiVariable(value.bytes);
  if (!parts || parts->empty()) return false;
  const auto count = static_cast<ULONG>(parts->size());
  const bool storedWide = PropType(value.tag) == PT_MV_UNICODE;
  if (row.shape == Shape::kBinary) {
    out.MVbin.cValues = count;
    out.MVbin.lpbin = chain.AllocateArray<SBinary>(count);
    for (ULONG i = 0; i < count; ++i) SetBinary((*parts)[i], chain, out.MVbin.lpbin[i]);
  } else if (row.shape == Shape::kText) {
    out.MVszW.cValues = count;
    out.MVszW.lppszW = chain.AllocateArray<LPWSTR>(count);
    for (ULONG i = 0; i < count; ++i) {
      out.MVszW.lppszW[i] = storedWide ? chain.Copy(pstfile::DecodeText((*parts)[i]))
                                       : chain.Copy(platform::AnsiToUtf16(ViewChars((*parts)[i])));
    }
  } else {
    out.MVszA.cValues = count;
    out.MVszA.lppszA = chain.AllocateArray<LPSTR>(count);
    for (ULONG i = 0; i < count; ++i) {
      out.MVszA.lppszA[i] = storedWide ? chain.Copy(std::string_view(ToAnsi((*parts)[i])))
                                       : chain.Copy(ViewChars((*parts)[i]));
    }
  }
  return true;
}

// True when a value stored with one type can be returned as the other.
bool Converts(ULONG id, ULONG from, ULONG to) {
  const auto isText = [](ULONG type) { return type == PT_UNICODE || type == PT_STRING8; };
  const auto isMultiText = [](ULONG type) {
    return type == PT_MV_UNICODE || type == PT_MV_STRING8;
  };
  if (from == to || (isText(from) && isText(to)) || (isMultiText(from) && isMultiText(to))) {
    return true;
  }
  return id == kHtmlId && (isText(from) || from == PT_BINARY) && (isText(to) || to == PT_BINARY);
}

void ReturnText(const Value& value, bool wide, unsigned htmlCodePage, Chain& chain,
                SPropUnion& out) {
  const ULONG stored = PropType(value.tag);
  std::u16string scratch;
  if (stored == PT_UNICODE) {
    const std::u16string_view text = ViewText(value.bytes, scratch);
    if (wide) {
      out.lpszW = chain.Copy(text);
    } else {
      out.lpszA = chain.Copy(std::string_view(platform::Utf16ToAnsi(text)));
    }
    return;
  }
  // 8-bit text in an older file, or the bytes of an HTML body.
  const std::string_view chars = ViewChars(value.bytes);
  if (!wide) {
    out.lpszA = chain.Copy(chars);
  } else if (stored == PT_STRING8) {
    out.lpszW = chain.Copy(platform::AnsiToUtf16(chars));
  } else {
    platform::DecodeCodePage(htmlCodePage, chars, scratch);
    out.lpszW = chain.Copy(scratch);
  }
}

}  // namespace

void Value::SetScalar(ULONG newTag, std::uint64_t bits) {
  tag = newTag;
  scalar = bits;
  large = false;
}

void Value::SetBytes(ULONG newTag, std::span<const std::byte> copied) {
  SetOwned(newTag, {copied.begin(), copied.end()});
}

void Value::SetOwned(ULONG newTag, std::vector<std::byte> owned) {
  tag = newTag;
  storage = std::move(owned);
  bytes = storage;
  large = false;
}

void Value::SetText(ULONG newTag, std::u16string_view text) {
  tag = newTag;
  storage.clear();
  pstfile::AppendText(text, storage);
  bytes = storage;
  large = false;
}

ULONG StoredTag(ULONG tag) {
  const ULONG type = PropType(tag);
  if (PropId(tag) == kHtmlId && (type == PT_STRING8 || type == PT_UNICODE)) return PR_HTML;
  if (type == PT_STRING8) return ChangePropType(tag, PT_UNICODE);
  if (type == PT_MV_STRING8) return ChangePropType(tag, PT_MV_UNICODE);
  return tag;
}

HRESULT StoreValue(const SPropValue& value, unsigned htmlCodePage, pstfile::PropertyList& list,
                   LargeValueTaker* taker) {
  const SPropUnion& v = value.Value;
  const pstfile::PropTag tag = ToTag(StoredTag(value.ulPropTag));
  if (PropId(value.ulPropTag) == 0 || PropId(value.ulPropTag) == 0xFFFF) {
    return MAPI_E_INVALID_TYPE;
  }
  const ULONG type = PropType(value.ulPropTag);
  const TypeRow row = RowOf(type);
  if ((type & MV_FLAG) != 0) return StoreMultiValue(tag, row, v, list);
  switch (row.shape) {
    case Shape::kNumber:
      list.SetScalar(tag, NumberBits(v, row.size));
      return S_OK;
    case Shape::kBoolean:
      list.SetBool(tag, v.b != 0);
      return S_OK;
    case Shape::kTime:
      list.SetScalar(tag, TimeBits(v.ft));
      return S_OK;
    case Shape::kGuid:
      if (v.lpguid == nullptr) return MAPI_E_INVALID_PARAMETER;
      list.SetBytes(tag, BytesOf(v.lpguid, 1));
      return S_OK;
    case Shape::kBinary:
      return StoreBinary(tag, v.bin, taker, list);
    case Shape::kText:
      if (v.lpszW == nullptr) return MAPI_E_INVALID_PARAMETER;
      return StoreText(tag, v.lpszW, htmlCodePage, taker, list);
    case Shape::kAnsi:
      if (v.lpszA == nullptr) return MAPI_E_INVALID_PARAMETER;
      return StoreAnsi(tag, v.lpszA, taker, list);
    default:
      return MAPI_E_INVALID_TYPE;
  }
}

void ReturnError(ULONG requestedTag, SCODE error, SPropValue& result) {
  result.ulPropTag = ChangePropType(requestedTag, PT_ERROR);
  result.dwAlignPad = 0;
  result.Value.li.QuadPart = 0;
  result.Value.err = error;
}

ULONG TagForCaller(ULONG storedTag, bool unicode) {
  switch (PropType(storedTag)) {
    case PT_UNICODE:
    case PT_STRING8:
      return ChangePropType(storedTag, unicode ? PT_UNICODE : PT_STRING8);
    case PT_MV_UNICODE:
    case PT_MV_STRING8:
      return ChangePropType(storedTag, unicode ? PT_MV_UNICODE : PT_MV_STRING8);
    default:
      return storedTag;
  }
}

bool ReturnValue(const Value& value, ULONG requestedTag, bool unicode, unsigned htmlCodePage,
                 Chain& chain, SPropValue& result) {
  ULONG type = PropType(requestedTag);
  if (type == PT_UNSPECIFIED) type = PropType(TagForCaller(value.tag, unicode));
  const auto fail = [&](SCODE error) {
    ReturnError(requestedTag, error, result);
    return false;
  };
  if (!Converts(PropId(value.tag), PropType(value.tag), type)) return fail(MAPI_E_NOT_FOUND);
  if (value.large || type == PT_OBJECT) return fail(MAPI_E_NOT_ENOUGH_MEMORY);

  result.ulPropTag = ChangePropType(requestedTag, type);
  result.dwAlignPad = 0;
  result.Value.li.QuadPart = 0;
  const TypeRow row = RowOf(type);
  if ((type & MV_FLAG) != 0) {
    return ReturnMultiValue(value, row, chain, result.Value) || fail(MAPI_E_NOT_FOUND);
  }
  switch (row.shape) {
    case Shape::kNumber:
      SetNumber(value.scalar, row.size, result.Value);
      return true;
    case Shape::kBoolean:
      result.Value.b = static_cast<std::uint16_t>(value.scalar);
      return true;
    case Shape::kError:
      result.Value.ul = static_cast<ULONG>(value.scalar);
      return true;
    case Shape::kTime:
      result.Value.ft = platform::FileTimeFromTicks(value.scalar);
      return true;
    case Shape::kText:
    case Shape::kAnsi:
      ReturnText(value, row.shape == Shape::kText, htmlCodePage, chain, result.Value);
      return true;
    case Shape::kBinary:
      SetBinary(value.bytes, chain, result.Value.bin);
      return true;
    case Shape::kGuid:
      if (value.bytes.size() != sizeof(GUID)) return fail(MAPI_E_CORRUPT_DATA);
      result.Value.lpguid = chain.AllocateArray<GUID>(1);
      std::memcpy(result.Value.lpguid, value.bytes.data(), sizeof(GUID));
      return true;
    case Shape::kNone:
      break;
  }
  return fail(MAPI_E_INVALID_TYPE);
}

std::u16string_view ViewText(std::span<const std::byte> bytes, std::u16string& scratch) {
  scratch = pstfile::DecodeText(bytes);
  return scratch;
}

std::u16string TextArgument(LPTSTR text, ULONG flags) {
  if (text == nullptr) return {};
  if ((flags & MAPI_UNICODE) != 0) return reinterpret_cast<const char16_t*>(text);
  return platform::AnsiToUtf16(text);
}

std::uint64_t TimeBits(FILETIME time) { return platform::FileTimeTicks(time); }

}  // namespace parvane::mapi::builtin
