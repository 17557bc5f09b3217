#include "mapi/builtin/values.h"

#include <bit>
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

// Sizes and pointers of the multi-value union members agree; only the element type differs.
template <typename T>
bool StoreArray(ULONG tag, ULONG count, const T* values, pstfile::PropertyList& list) {
  if (values == nullptr) return false;
  list.SetBytes(ToTag(tag), BytesOf(values, count));
  return true;
}

HRESULT StoreMultiText(ULONG tag, std::span<const std::u16string> texts,
                       pstfile::PropertyList& list) {
  const std::vector<std::u16string_view> views(texts.begin(), texts.end());
  list.SetBytes(ToTag(tag), pstfile::EncodeMultiText(views));
  return S_OK;
}

HRESULT StoreMultiValue(const SPropValue& value, pstfile::PropertyList& list) {
  const SPropUnion& v = value.Value;
  const ULONG tag = value.ulPropTag;
  bool stored = false;
  switch (PropType(tag)) {
    case PT_MV_I2:
      stored = StoreArray(tag, v.MVi.cValues, v.MVi.lpi, list);
      break;
    case PT_MV_LONG:
      stored = StoreArray(tag, v.MVl.cValues, v.MVl.lpl, list);
      break;
    case PT_MV_R4:
      stored = StoreArray(tag, v.MVflt.cValues, v.MVflt.lpflt, list);
      break;
    case PT_MV_DOUBLE:
      stored = StoreArray(tag, v.MVdbl.cValues, v.MVdbl.lpdbl, list);
      break;
    case PT_MV_CURRENCY:
      stored = StoreArray(tag, v.MVcur.cValues, v.MVcur.lpcur, list);
      break;
    case PT_MV_APPTIME:
      stored = StoreArray(tag, v.MVat.cValues, v.MVat.lpat, list);
      break;
    case PT_MV_I8:
      stored = StoreArray(tag, v.MVli.cValues, v.MVli.lpli, list);
      break;
    case PT_MV_SYSTIME:
      stored = StoreArray(tag, v.MVft.cValues, v.MVft.lpft, list);
      break;
    case PT_MV_CLSID:
      stored = StoreArray(tag, v.MVguid.cValues, v.MVguid.lpguid, list);
      break;
    case PT_MV_BINARY: {
      if (v.MVbin.lpbin == nullptr) break;
      std::vector<std::span<const std::byte>> parts;
      for (ULONG i = 0; i < v.MVbin.cValues; ++i) parts.push_back(BytesOf(v.MVbin.lpbin[i]));
      list.SetBytes(ToTag(tag), pstfile::EncodeMultiBinary(parts));
      stored = true;
      break;
    }
    case PT_MV_UNICODE: {
      if (v.MVszW.lppszW == nullptr) break;
      std::vector<std::u16string> texts;
      for (ULONG i = 0; i < v.MVszW.cValues; ++i) {
        const char16_t* text = v.MVszW.lppszW[i];
        texts.emplace_back(text == nullptr ? u"" : text);
      }
      return StoreMultiText(tag, texts, list);
    }
    case PT_MV_STRING8: {
      if (v.MVszA.lppszA == nullptr) break;
      std::vector<std::u16string> texts;
      for (ULONG i = 0; i < v.MVszA.cValues; ++i) {
        const char* text = v.MVszA.lppszA[i];
        texts.push_back(platform::AnsiToUtf16(text == nullptr ? "" : text));
      }
      return StoreMultiText(StoredTag(tag), texts, list);
    }
    default:
      return MAPI_E_INVALID_TYPE;
  }
  return stored ? S_OK : MAPI_E_INVALID_PARAMETER;
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

// Copies a packed array of numbers; false when there is not a single one.
template <typename T>
bool ReturnArray(std::span<const std::byte> bytes, Chain& chain, ULONG& count, T*& values) {
  count = static_cast<ULONG>(bytes.size() / sizeof(T));
  values = chain.AllocateArray<T>(count);
  if (count != 0) std::memcpy(values, bytes.data(), count * sizeof(T));
  return count != 0;
}

bool ReturnVariable(const Value& value, ULONG type, Chain& chain, SPropUnion& out) {
  const auto parts = pstfile::DecodeMultiVariable(value.bytes);
  if (!parts || parts->empty()) return false;
  const auto count = static_cast<ULONG>(parts->size());
  const bool storedWide = PropType(value.tag) == PT_MV_UNICODE;
  if (type == PT_MV_BINARY) {
    out.MVbin.cValues = count;
    out.MVbin.lpbin = chain.AllocateArray<SBinary>(count);
    for (ULONG i = 0; i < count; ++i) SetBinary((*parts)[i], chain, out.MVbin.lpbin[i]);
  } else if (type == PT_MV_UNICODE) {
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

bool ReturnMultiValue(const Value& value, ULONG type, Chain& chain, SPropUnion& out) {
  const std::span<const std::byte> bytes = value.bytes;
  switch (type) {
    case PT_MV_I2:
      return ReturnArray(bytes, chain, out.MVi.cValues, out.MVi.lpi);
    case PT_MV_LONG:
      return ReturnArray(bytes, chain, out.MVl.cValues, out.MVl.lpl);
    case PT_MV_R4:
      return ReturnArray(bytes, chain, out.MVflt.cValues, out.MVflt.lpflt);
    case PT_MV_DOUBLE:
      return ReturnArray(bytes, chain, out.MVdbl.cValues, out.MVdbl.lpdbl);
    case PT_MV_CURRENCY:
      return ReturnArray(bytes, chain, out.MVcur.cValues, out.MVcur.lpcur);
    case PT_MV_APPTIME:
      return ReturnArray(bytes, chain, out.MVat.cValues, out.MVat.lpat);
    case PT_MV_I8:
      return ReturnArray(bytes, chain, out.MVli.cValues, out.MVli.lpli);
    case PT_MV_SYSTIME:
      return ReturnArray(bytes, chain, out.MVft.cValues, out.MVft.lpft);
    case PT_MV_CLSID:
      return ReturnArray(bytes, chain, out.MVguid.cValues, out.MVguid.lpguid);
    default:
      return ReturnVariable(value, type, chain, out);
  }
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
  switch (PropType(value.ulPropTag)) {
    case PT_I2:
      list.SetScalar(tag, static_cast<std::uint16_t>(v.i));
      return S_OK;
    case PT_LONG:
    case PT_R4:
      list.SetScalar(tag, v.ul);
      return S_OK;
    case PT_BOOLEAN:
      list.SetBool(tag, v.b != 0);
      return S_OK;
    case PT_DOUBLE:
    case PT_APPTIME:
    case PT_CURRENCY:
    case PT_I8:
      list.SetScalar(tag, static_cast<std::uint64_t>(v.li.QuadPart));
      return S_OK;
    case PT_SYSTIME:
      list.SetScalar(tag, TimeBits(v.ft));
      return S_OK;
    case PT_CLSID:
      if (v.lpguid == nullptr) return MAPI_E_INVALID_PARAMETER;
      list.SetBytes(tag, BytesOf(v.lpguid, 1));
      return S_OK;
    case PT_BINARY:
      if (v.bin.lpb == nullptr && v.bin.cb != 0) return MAPI_E_INVALID_PARAMETER;
      if (taker != nullptr && v.bin.cb > kLargestReturnedValue) {
        return taker->TakeLarge(tag, BytesOf(v.bin));
      }
      list.SetBytes(tag, BytesOf(v.bin));
      return S_OK;
    case PT_UNICODE: {
      if (v.lpszW == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (PropId(value.ulPropTag) != kHtmlId) {
        const std::u16string_view text = v.lpszW;
        if (taker != nullptr && 2 * text.size() > kLargestReturnedValue &&
            std::endian::native == std::endian::little) {
          return taker->TakeLarge(tag, BytesOf(text.data(), text.size()));
        }
        list.SetText(tag, text);
        return S_OK;
      }
      std::string html;
      platform::EncodeCodePage(htmlCodePage, v.lpszW, html);
      list.SetBytes(tag, BytesOf(html.data(), html.size()));
      return S_OK;
    }
    case PT_STRING8:
      if (v.lpszA == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (PropId(value.ulPropTag) == kHtmlId) {
        list.SetBytes(tag, BytesOf(v.lpszA, std::strlen(v.lpszA)));
      } else if (const std::string_view text = v.lpszA;
                 platform::simd::AsciiPrefix(text.data(), text.size()) == text.size()) {
        // The same in every code page.
        if (taker != nullptr && 2 * text.size() > kLargestReturnedValue) {
          return taker->TakeLargeAscii(tag, text);
        }
        list.SetAsciiText(tag, text);
      } else {
        list.SetText(tag, platform::AnsiToUtf16(text));
      }
      return S_OK;
    default:
      return StoreMultiValue(value, list);
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
  switch (type) {
    case PT_I2:
    case PT_BOOLEAN:
      result.Value.b = static_cast<std::uint16_t>(value.scalar);
      return true;
    case PT_LONG:
    case PT_R4:
    case PT_ERROR:
      result.Value.ul = static_cast<ULONG>(value.scalar);
      return true;
    case PT_DOUBLE:
    case PT_APPTIME:
    case PT_CURRENCY:
    case PT_I8:
      result.Value.li.QuadPart = static_cast<LONGLONG>(value.scalar);
      return true;
    case PT_SYSTIME:
      result.Value.ft = platform::FileTimeFromTicks(value.scalar);
      return true;
    case PT_UNICODE:
    case PT_STRING8:
      ReturnText(value, type == PT_UNICODE, htmlCodePage, chain, result.Value);
      return true;
    case PT_BINARY:
      SetBinary(value.bytes, chain, result.Value.bin);
      return true;
    case PT_CLSID:
      if (value.bytes.size() != sizeof(GUID)) return fail(MAPI_E_CORRUPT_DATA);
      result.Value.lpguid = chain.AllocateArray<GUID>(1);
      std::memcpy(result.Value.lpguid, value.bytes.data(), sizeof(GUID));
      return true;
    default:
      if ((type & MV_FLAG) == 0) return fail(MAPI_E_INVALID_TYPE);
      return ReturnMultiValue(value, type, chain, result.Value) || fail(MAPI_E_NOT_FOUND);
  }
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
